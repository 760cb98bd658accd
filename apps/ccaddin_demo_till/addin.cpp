#include "addin.h"

#include <dlfcn.h>

#include <cstring>

namespace ccaddin::demo {

namespace {

template <typename F>
bool Resolve(void* library, const char* name, F& entry, std::string& error) {
  entry = reinterpret_cast<F>(dlsym(library, name));
  if (entry == nullptr) error = std::string("the library has no entry point ") + name;
  return entry != nullptr;
}

}  // namespace

ccaddin_variant LongArg(int32_t value) {
  ccaddin_variant v{};
  v.type = CCADDIN_VT_INT32;
  v.u.i32 = value;
  return v;
}

ccaddin_variant TextArg(const char* value) {
  ccaddin_variant v{};
  v.type = CCADDIN_VT_STRING;
  v.u.str = const_cast<char*>(value);
  return v;
}

ccaddin_variant ByRefArg(ccaddin_object* record) {
  ccaddin_variant v{};
  v.type = CCADDIN_VT_OBJECT;
  v.flags = CCADDIN_BYREF;
  v.u.obj = record;
  return v;
}

std::unique_ptr<Addin> Addin::Load(const std::string& path, std::string& error) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    const char* why = dlerror();
    error = "cannot load " + path + ": " + (why != nullptr ? why : "unknown reason");
    return nullptr;
  }
  std::unique_ptr<Addin> addin(new Addin);
  if (!Resolve(library, "ccaddin_create", addin->create_, error) ||
      !Resolve(library, "ccaddin_invoke", addin->invoke_, error) ||
      !Resolve(library, "ccaddin_release", addin->release_, error) ||
      !Resolve(library, "ccaddin_variant_clear", addin->variant_clear_, error) ||
      !Resolve(library, "ccaddin_last_error", addin->last_error_, error) ||
      !Resolve(library, "ccaddin_sim_present_card", addin->sim_present_card_, error) ||
      !Resolve(library, "ccaddin_sim_terminal_status", addin->sim_terminal_status_, error)) {
    error = path + ": " + error;
    return nullptr;
  }
  return addin;
}

ccaddin_object* Addin::Create(const std::string& class_name, std::string& error) {
  ccaddin_object* obj = nullptr;
  if (create_(("TamberinCcAddin." + class_name).c_str(), &obj) != CCADDIN_OK) {
    error = last_error_();
    return nullptr;
  }
  return obj;
}

void Addin::Release(ccaddin_object* obj) {
  release_(obj);
}

bool Addin::Call(ccaddin_object* obj, const char* name, int32_t kind,
                 std::vector<ccaddin_variant> args, ccaddin_variant* result, std::string& error) {
  const ccaddin_status status =
      invoke_(obj, name, kind, args.data(), static_cast<int32_t>(args.size()), result);
  if (status != CCADDIN_OK) error = std::string(name) + ": " + last_error_();
  for (ccaddin_variant& v : args) {
    if ((v.flags & CCADDIN_BYREF) != 0) variant_clear_(&v);
  }
  return status == CCADDIN_OK;
}

bool Addin::CallBool(ccaddin_object* obj, const char* name, std::vector<ccaddin_variant> args,
                     std::string& error) {
  ccaddin_variant result{};
  const bool called = Call(obj, name, CCADDIN_METHOD, std::move(args), &result, error);
  const bool value = called && result.type == CCADDIN_VT_BOOL && result.u.boolean != 0;
  variant_clear_(&result);
  return value;
}

std::string Addin::Get(ccaddin_object* obj, const char* name) {
  ccaddin_variant result{};
  std::string error, text;
  if (Call(obj, name, CCADDIN_GET, {}, &result, error)) {
    if (result.type == CCADDIN_VT_STRING) text = result.u.str;
    if (result.type == CCADDIN_VT_INT32) text = std::to_string(result.u.i32);
    if (result.type == CCADDIN_VT_BOOL) text = result.u.boolean != 0 ? "True" : "False";
  }
  variant_clear_(&result);
  return text;
}

bool Addin::Put(ccaddin_object* obj, const char* name, ccaddin_variant value, std::string& error) {
  return Call(obj, name, CCADDIN_PUT, {value}, nullptr, error);
}

bool Addin::PresentCard(const std::string& name, std::string& error) {
  if (sim_present_card_(name.c_str()) == CCADDIN_OK) return true;
  error = last_error_();
  return false;
}

}  // namespace ccaddin::demo
