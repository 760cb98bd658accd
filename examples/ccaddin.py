"""A till's binding to libccaddin.so, written with ctypes alone (no other package).

Load the library with `Library(path)` (or `Library()`, which reads the path from the
CCADDIN_LIBRARY environment variable), create classes by program identifier and call
their members by name:

    lib = Library()
    till = lib.create("TamberinCcAddin.TTillInformation")
    till.strMerchantName = "Café £5"        # property put
    print(till.strMerchantName)              # property get
    hook.call("AuthoriseTransaction", 0, 1250, 0, ByRef(till), ByRef(info))

Python values map to the library's variants: None is Empty, NULL is Null, NOTHING is an
object reference to nothing, bool is a COM boolean (-1/0), int a 32-bit Long, float a
Double, str UTF-8 text, Object a handle. A failure raises CcaddinError with the status
code and the library's message. A Python object derived from HostObject can be handed to
the component, which then calls it by name.
"""

import ctypes
import itertools
import os

OK = 0
E_UNKNOWN_CLASS = 1
E_UNKNOWN_MEMBER = 2
E_ARG_COUNT = 3
E_TYPE_MISMATCH = 4
E_INVALID_ARG = 5
E_FAILED = 6

VT_EMPTY = 0
VT_NULL = 1
VT_INT32 = 3
VT_DOUBLE = 5
VT_STRING = 8
VT_OBJECT = 9
VT_BOOL = 11

BYREF = 0x1
OWNED = 0x2

METHOD = 1
GET = 2
PUT = 4

PROGID_PREFIX = "TamberinCcAddin."


class _Union(ctypes.Union):
    _fields_ = [
        ("boolean", ctypes.c_int16),
        ("i32", ctypes.c_int32),
        ("dbl", ctypes.c_double),
        ("str", ctypes.c_void_p),  # raw pointer: the library's or ours, never Python's copy
        ("obj", ctypes.c_void_p),
    ]


class Variant(ctypes.Structure):
    _fields_ = [("type", ctypes.c_uint16), ("flags", ctypes.c_uint16), ("u", _Union)]


_INVOKE_CALLBACK = ctypes.CFUNCTYPE(
    ctypes.c_int32, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int32,
    ctypes.POINTER(Variant), ctypes.c_int32, ctypes.POINTER(Variant))
_DESTROY_CALLBACK = ctypes.CFUNCTYPE(None, ctypes.c_void_p)


class _HostVtable(ctypes.Structure):
    _fields_ = [("invoke", _INVOKE_CALLBACK), ("destroy", _DESTROY_CALLBACK)]


class CcaddinError(Exception):
    def __init__(self, status, message):
        super().__init__(f"ccaddin status {status}: {message}")
        self.status = status
        self.message = message


class _Marker:
    def __init__(self, name):
        self._name = name

    def __repr__(self):
        return self._name


NULL = _Marker("NULL")        # the Null value
NOTHING = _Marker("NOTHING")  # an object variable set to no object


class ByRef:
    """An argument passed by reference: after the call, .value holds what the member left."""

    def __init__(self, value):
        self.value = value


class HostObject:
    """A till object the component calls by name. Override invoke(name, kind, args): args
    is a list of ByRef cells (assign .value to write a by-reference parameter back); return
    the member's value, or raise CcaddinError(status, message) to fail the call."""

    def invoke(self, name, kind, args):
        raise CcaddinError(E_UNKNOWN_MEMBER, f"no member {name}")

    def destroyed(self):
        """Called once the component and the till have both let go of the object."""


class Library:
    def __init__(self, path=None):
        path = path or os.environ.get("CCADDIN_LIBRARY")
        if not path:
            raise RuntimeError("set CCADDIN_LIBRARY to the path of libccaddin.so")
        self.path = path
        self.dll = dll = ctypes.CDLL(path)
        dll.ccaddin_create.argtypes = [ctypes.c_char_p, ctypes.POINTER(ctypes.c_void_p)]
        dll.ccaddin_invoke.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int32,
                                       ctypes.POINTER(Variant), ctypes.c_int32,
                                       ctypes.POINTER(Variant)]
        dll.ccaddin_addref.argtypes = [ctypes.c_void_p]
        dll.ccaddin_release.argtypes = [ctypes.c_void_p]
        dll.ccaddin_same_object.argtypes = [ctypes.c_void_p, ctypes.c_void_p]
        dll.ccaddin_last_error.restype = ctypes.c_char_p
        dll.ccaddin_last_error.argtypes = []
        dll.ccaddin_variant_clear.argtypes = [ctypes.POINTER(Variant)]
        dll.ccaddin_variant_clear.restype = None
        dll.ccaddin_host_object_create.argtypes = [ctypes.POINTER(_HostVtable), ctypes.c_void_p,
                                                   ctypes.POINTER(ctypes.c_void_p)]
        dll.ccaddin_set_error.argtypes = [ctypes.c_char_p]
        dll.ccaddin_set_error.restype = None
        dll.ccaddin_string_dup.argtypes = [ctypes.c_char_p]
        dll.ccaddin_string_dup.restype = ctypes.c_void_p
        for name in ("ccaddin_create", "ccaddin_invoke", "ccaddin_addref", "ccaddin_release",
                     "ccaddin_host_object_create", "ccaddin_same_object"):
            getattr(dll, name).restype = ctypes.c_int32
        # Host objects by id; the library hands the id back to the callbacks.
        self._hosts = {}
        self._host_ids = itertools.count(1)
        self._vtable = _HostVtable(_INVOKE_CALLBACK(self._host_invoke),
                                   _DESTROY_CALLBACK(self._host_destroy))

    # ---- the C entry points, checked -----------------------------------------------------

    def last_error(self):
        return self.dll.ccaddin_last_error().decode("utf-8")

    def check(self, status):
        if status != OK:
            raise CcaddinError(status, self.last_error())

    def create(self, progid):
        handle = ctypes.c_void_p()
        encoded = progid if isinstance(progid, bytes) or progid is None else progid.encode()
        self.check(self.dll.ccaddin_create(encoded, ctypes.byref(handle)))
        return Object(self, handle.value)

    def host_object(self, host):
        """Wraps a HostObject as an Object the component can call."""
        host_id = next(self._host_ids)
        self._hosts[host_id] = host
        handle = ctypes.c_void_p()
        status = self.dll.ccaddin_host_object_create(ctypes.byref(self._vtable), host_id,
                                                     ctypes.byref(handle))
        if status != OK:
            del self._hosts[host_id]
            self.check(status)
        return Object(self, handle.value)

    def invoke_raw(self, handle, name, kind, variants):
        """The C call itself on prepared variants; returns (status, result Variant). The
        caller clears the result and any by-reference argument."""
        array = (Variant * len(variants))(*variants) if variants else None
        result = Variant()
        encoded = name.encode() if isinstance(name, str) else name
        status = self.dll.ccaddin_invoke(handle, encoded, kind, array, len(variants),
                                         ctypes.byref(result))
        return status, result, array

    def invoke(self, handle, name, kind, args):
        keep = []  # our own buffers, alive until the call returns
        variants = [self._to_variant(a, keep) for a in args]
        status, result, array = self.invoke_raw(handle, name, kind, variants)
        try:
            for i, arg in enumerate(args):
                if isinstance(arg, ByRef) and array[i].flags & OWNED:
                    arg.value = self._from_variant(array[i], adopt=True)
            self.check(status)
            return self._from_variant(result, adopt=True)
        finally:
            if array is not None:
                for v in array:
                    self.dll.ccaddin_variant_clear(ctypes.byref(v))
            self.dll.ccaddin_variant_clear(ctypes.byref(result))

    # ---- conversions ---------------------------------------------------------------------

    def _to_variant(self, value, keep, owned=False):
        v = Variant()
        if isinstance(value, ByRef):
            v = self._to_variant(value.value, keep, owned)
            v.flags |= BYREF
            return v
        if value is None:
            v.type = VT_EMPTY
        elif value is NULL:
            v.type = VT_NULL
        elif value is NOTHING:
            v.type = VT_OBJECT
        elif isinstance(value, bool):
            v.type, v.u.boolean = VT_BOOL, -1 if value else 0
        elif isinstance(value, int):
            if not -2**31 <= value < 2**31:
                raise OverflowError(f"{value} does not fit a 32-bit Long")
            v.type, v.u.i32 = VT_INT32, value
        elif isinstance(value, float):
            v.type, v.u.dbl = VT_DOUBLE, value
        elif isinstance(value, (str, bytes)):
            # bytes go through unchanged, so a test can send text that is not UTF-8.
            data = value.encode("utf-8") if isinstance(value, str) else value
            v.type = VT_STRING
            if owned:
                v.u.str = self.dll.ccaddin_string_dup(data)
                v.flags |= OWNED
            else:
                buffer = ctypes.create_string_buffer(data)
                keep.append(buffer)
                v.u.str = ctypes.addressof(buffer)
        elif isinstance(value, Object):
            v.type, v.u.obj = VT_OBJECT, value.handle
            if owned:
                self.check(self.dll.ccaddin_addref(value.handle))
                v.flags |= OWNED
        elif isinstance(value, HostObject):
            wrapped = self.host_object(value)
            if keep is not None:
                keep.append(wrapped)  # the till's reference, for the duration of the call
            return self._to_variant(wrapped, keep, owned)
        else:
            raise TypeError(f"no variant for {type(value).__name__}")
        return v

    def _from_variant(self, v, adopt):
        """A Python value; with adopt, an object reference the library owned is taken over
        (else a new reference is added for the returned Object)."""
        if v.type == VT_EMPTY:
            return None
        if v.type == VT_NULL:
            return NULL
        if v.type == VT_BOOL:
            return v.u.boolean != 0
        if v.type == VT_INT32:
            return v.u.i32
        if v.type == VT_DOUBLE:
            return v.u.dbl
        if v.type == VT_STRING:
            return ctypes.string_at(v.u.str).decode("utf-8")
        if v.type == VT_OBJECT:
            if not v.u.obj:
                return NOTHING
            if adopt and v.flags & OWNED:
                v.flags &= ~OWNED  # the reference now belongs to the Object
            else:
                self.check(self.dll.ccaddin_addref(v.u.obj))
            return Object(self, v.u.obj)
        raise CcaddinError(E_INVALID_ARG, f"unknown variant type {v.type}")

    # ---- host callbacks: never let a Python exception reach C ----------------------------

    def _host_invoke(self, user_data, name, kind, args, nargs, result):
        try:
            host = self._hosts[user_data]
            cells = [ByRef(self._from_variant(args[i], adopt=False)) for i in range(nargs)]
            before = [c.value for c in cells]
            value = host.invoke(name.decode("utf-8"), kind, cells)
            for i, cell in enumerate(cells):
                if cell.value is not before[i]:
                    args[i] = self._to_variant(cell.value, None, owned=True)
            result[0] = self._to_variant(value, None, owned=True)
            return OK
        except CcaddinError as e:
            self.dll.ccaddin_set_error(e.message.encode("utf-8"))
            return e.status
        except Exception as e:  # noqa: BLE001 - any failure of the till's code
            self.dll.ccaddin_set_error(f"{type(e).__name__}: {e}".encode("utf-8"))
            return E_FAILED

    def _host_destroy(self, user_data):
        host = self._hosts.pop(user_data, None)
        if host is not None:
            try:
                host.destroyed()
            except Exception:  # noqa: BLE001 - nothing can report it from here
                pass


class Object:
    """One reference on a library object; released when the Object is closed or collected."""

    def __init__(self, lib, handle):
        object.__setattr__(self, "_lib", lib)
        object.__setattr__(self, "handle", handle)

    def get(self, name, *args):
        return self._lib.invoke(self.handle, name, GET, list(args))

    def put(self, name, value):
        self._lib.invoke(self.handle, name, PUT, [value])

    def call(self, name, *args):
        return self._lib.invoke(self.handle, name, METHOD, list(args))

    def same_as(self, other):
        return bool(self._lib.dll.ccaddin_same_object(self.handle, other.handle))

    def close(self):
        if self.handle:
            self._lib.dll.ccaddin_release(self.handle)
            object.__setattr__(self, "handle", None)

    def __del__(self):
        try:
            self.close()
        except Exception:  # noqa: BLE001 - interpreter shutdown
            pass

    # Properties by attribute, for names in the system's style ("strMerchantName").
    def __getattr__(self, name):
        if name.startswith("_"):
            raise AttributeError(name)
        return self.get(name)

    def __setattr__(self, name, value):
        self.put(name, value)
