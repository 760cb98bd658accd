#include "reg_admin.h"

#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>

#include "platform/cc_addin_registry.h"
#include "platform/cc_addin_settings.h"
#include "platform/locale_number.h"
#include "platform/reg_file.h"
#include "platform/registry_store.h"
#include "platform/text_encoding.h"

namespace ccaddin {

namespace {

constexpr const char* kUsage =
    "usage: ccaddin-reg [--db PATH] COMMAND [ARGUMENTS]\n"
    "\n"
    "The settings of the card-payment add-in: key HKEY_LOCAL_MACHINE\\SOFTWARE\\Tamberin\\ccaddin\n"
    "in the registry database PATH (default: $CCADDIN_REGISTRY, else\n"
    "/var/lib/ccaddin/registry.db).\n"
    "\n"
    "  init                       create the database and the key (keeps existing values)\n"
    "  list                       every stored value, as stored\n"
    "  get NAME                   one stored value\n"
    "  set [--type TYPE] NAME VALUE\n"
    "                             store VALUE as a string (REG_SZ); TYPE may be sz,\n"
    "                             expand_sz, dword, qword, binary or none (testing only:\n"
    "                             the add-in reads only string values)\n"
    "  delete NAME                remove a value\n"
    "  import FILE                apply a regedit file (REGEDIT4 or version 5.00); all or\n"
    "                             nothing\n"
    "  export [--format 4|5] [FILE]\n"
    "                             write a regedit file: version 5.00 (UTF-16, as regedit)\n"
    "                             by default, REGEDIT4 (ANSI) to standard output\n"
    "  show                       every setting as the add-in loads it (defaults and\n"
    "                             conversions applied)\n"
    "\n"
    "Exit status: 0 success, 1 usage error, 2 operation failed.\n";

constexpr std::string_view kHivePrefix = "HKEY_LOCAL_MACHINE\\";

struct UsageError {
  std::string message;
};
struct Failed {
  std::string message;
};

struct CommandLine {
  std::string db;
  std::string command;
  std::vector<std::string> operands;
  std::string type;    // set --type
  std::string format;  // export --format
  bool help = false;
};

// The key as the add-in names it, without the trailing "\".
std::string SubKey() {
  std::string key = kCcAddinRegistryKey;
  while (!key.empty() && key.back() == '\\') key.pop_back();
  return key;
}

std::string FullKeyName() {
  return std::string(kHivePrefix) + SubKey();
}

// A 32-bit add-in on 64-bit Windows keeps its settings under WOW6432Node; files exported
// from such a till import here unchanged.
std::vector<std::string> AcceptedKeys() {
  return {FullKeyName(), std::string(kHivePrefix) + "SOFTWARE\\WOW6432Node\\Tamberin\\ccaddin"};
}

CommandLine Parse(const std::vector<std::string>& args) {
  CommandLine cl;
  bool options_done = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (!options_done && arg == "--") {
      options_done = true;
      continue;
    }
    if (!options_done && (arg == "--help" || arg == "-h")) {
      cl.help = true;
      continue;
    }
    if (!options_done && arg.starts_with("--")) {
      const size_t eq = arg.find('=');
      const std::string name = arg.substr(0, eq);
      std::string value;
      if (eq != std::string::npos) {
        value = arg.substr(eq + 1);
      } else if (i + 1 < args.size()) {
        value = args[++i];
      } else {
        throw UsageError{name + " needs a value"};
      }
      if (name == "--db" && cl.command.empty()) {
        cl.db = value;
      } else if (name == "--type" && cl.command == "set") {
        cl.type = value;
      } else if (name == "--format" && cl.command == "export") {
        cl.format = value;
      } else {
        throw UsageError{"unknown option " + name +
                         (cl.command.empty() ? std::string() : " for " + cl.command)};
      }
      continue;
    }
    if (cl.command.empty()) {
      cl.command = arg;
    } else {
      cl.operands.push_back(arg);
    }
  }
  if (cl.help) return cl;
  if (cl.command.empty()) throw UsageError{"no command given"};
  struct Arity {
    const char* command;
    size_t min;
    size_t max;
  };
  static constexpr Arity kArity[] = {{"init", 0, 0},   {"list", 0, 0},   {"get", 1, 1},
                                     {"set", 2, 2},    {"delete", 1, 1}, {"import", 1, 1},
                                     {"export", 0, 1}, {"show", 0, 0}};
  for (const Arity& a : kArity) {
    if (cl.command != a.command) continue;
    if (cl.operands.size() < a.min || cl.operands.size() > a.max) {
      throw UsageError{"wrong number of arguments for " + cl.command};
    }
    return cl;
  }
  throw UsageError{"unknown command " + cl.command};
}

// Text typed on the command line (UTF-8) in the store's Windows-1252.
std::string FromConsole(const std::string& utf8, const char* what) {
  bool lossless = true;
  std::string ansi = Utf8ToWindows1252(utf8, &lossless);
  if (!lossless) {
    throw Failed{std::string(what) +
                 " holds a character that the settings' Windows-1252 text cannot hold"};
  }
  return ansi;
}

std::unique_ptr<RegistryStore> OpenStore(const std::string& path) {
  std::unique_ptr<RegistryStore> store;
  std::string error;
  switch (RegistryStore::Open(path, &store, &error)) {
    case RegStatus::kOk:
      return store;
    case RegStatus::kNotFound:
      throw Failed{"no registry database at " + path + "; create it with: ccaddin-reg init"};
    case RegStatus::kFailed:
      break;
  }
  throw Failed{error};
}

int64_t OpenKey(RegistryStore& store) {
  int64_t key = 0;
  switch (store.OpenKey(kHkeyLocalMachine, SubKey(), &key)) {
    case RegStatus::kOk:
      return key;
    case RegStatus::kNotFound:
      throw Failed{"the key " + FullKeyName() + " does not exist in " + store.path() +
                   "; create it with: ccaddin-reg init"};
    case RegStatus::kFailed:
      break;
  }
  throw Failed{store.error()};
}

void Check(RegStatus status, const RegistryStore& store) {
  if (status == RegStatus::kFailed) throw Failed{store.error()};
}

std::string DisplayName(const std::string& ansi_name) {
  return ansi_name.empty() ? "(default)" : Windows1252ToUtf8(ansi_name);
}

// The value as people read it: the text of a string value, the regedit spelling of
// anything else.
std::string DisplayValue(const RegistryValue& value) {
  if (value.type == kRegSz) return Windows1252ToUtf8(value.data.substr(0, value.data.find('\0')));
  return RegFileValueText(value);
}

uint64_t ParseUnsigned(const std::string& text, uint64_t max, bool allow_negative) {
  errno = 0;
  char* end = nullptr;
  if (allow_negative && text.starts_with('-')) {
    const long long v = std::strtoll(text.c_str(), &end, 0);
    if (errno == 0 && end != text.c_str() && *end == '\0' &&
        v >= -static_cast<long long>(max / 2) - 1) {
      return static_cast<uint64_t>(v) & max;
    }
  } else if (!text.empty() && text[0] != '-' && text[0] != '+') {
    const unsigned long long v = std::strtoull(text.c_str(), &end, 0);
    if (errno == 0 && end != text.c_str() && *end == '\0' && v <= max) return v;
  }
  throw Failed{"\"" + text + "\" is not a number in range for the type"};
}

std::string LittleEndian(uint64_t v, int bytes) {
  std::string out;
  for (int i = 0; i < bytes; ++i) out += static_cast<char>((v >> (8 * i)) & 0xFF);
  return out;
}

std::string HexBytes(const std::string& text) {
  std::string digits;
  for (const char c : text) {
    if (c == ',' || c == ' ' || c == ':') continue;
    if (!std::isxdigit(static_cast<unsigned char>(c)))
      throw Failed{"\"" + text + "\" is not hexadecimal bytes"};
    digits += c;
  }
  if (digits.size() % 2 != 0)
    throw Failed{"\"" + text + "\" has an odd number of hexadecimal digits"};
  std::string out;
  for (size_t i = 0; i < digits.size(); i += 2) {
    out += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  }
  return out;
}

RegistryValue MakeValue(const std::string& type, const std::string& name,
                        const std::string& value) {
  std::string t;
  for (const char c : type) t += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (t.starts_with("reg_")) t = t.substr(4);
  RegistryValue v;
  v.name = name;
  if (t.empty() || t == "sz") {
    v.type = kRegSz;
    v.data = StringValueData(FromConsole(value, "the value"));
  } else if (t == "expand_sz") {
    v.type = kRegExpandSz;
    v.data = StringValueData(FromConsole(value, "the value"));
  } else if (t == "dword") {
    v.type = kRegDword;
    v.data = LittleEndian(ParseUnsigned(value, 0xFFFFFFFFULL, true), 4);
  } else if (t == "qword") {
    v.type = kRegQword;
    v.data = LittleEndian(ParseUnsigned(value, ~0ULL, true), 8);
  } else if (t == "binary" || t == "none") {
    v.type = t == "binary" ? kRegBinary : kRegNone;
    v.data = HexBytes(value);
  } else {
    throw UsageError{"unknown type " + type + " (sz, expand_sz, dword, qword, binary, none)"};
  }
  return v;
}

void WriteFileAtomically(const std::string& path, const std::string& bytes) {
  // Written beside the target and renamed over it, so a failed export never leaves a
  // half-written file where a good one was.
  const std::string temp = path + ".tmp" + std::to_string(getpid());
  {
    std::ofstream out(temp, std::ios::binary | std::ios::trunc);
    out << bytes;
    out.close();
    if (!out) {
      const std::string why = std::strerror(errno);
      std::remove(temp.c_str());
      throw Failed{"cannot write " + path + ": " + why};
    }
  }
  if (std::rename(temp.c_str(), path.c_str()) != 0) {
    const std::string why = std::strerror(errno);
    std::remove(temp.c_str());
    throw Failed{"cannot write " + path + ": " + why};
  }
}

int Init(const std::string& path, std::ostream& out) {
  std::unique_ptr<RegistryStore> store;
  std::string error;
  if (RegistryStore::Create(path, &store, &error) != RegStatus::kOk) throw Failed{error};
  int64_t key = 0;
  Check(store->CreateKey(kHkeyLocalMachine, SubKey(), &key), *store);
  out << "registry ready: " << path << " [" << FullKeyName() << "]\n";
  return kExitOk;
}

int List(const std::string& path, std::ostream& out) {
  auto store = OpenStore(path);
  std::vector<RegistryValue> values;
  Check(store->ListValues(OpenKey(*store), &values), *store);
  for (const RegistryValue& v : values) {
    out << DisplayName(v.name) << " = " << DisplayValue(v);
    if (v.type != kRegSz) out << "  (" << RegTypeName(v.type) << ": ignored by the add-in)";
    out << '\n';
  }
  return kExitOk;
}

int Get(const std::string& path, const std::string& name, std::ostream& out, std::ostream& err) {
  auto store = OpenStore(path);
  RegistryValue value;
  const RegStatus status =
      store->QueryValue(OpenKey(*store), FromConsole(name, "the name"), &value);
  Check(status, *store);
  if (status == RegStatus::kNotFound) throw Failed{"no value " + name};
  out << DisplayValue(value) << '\n';
  if (value.type != kRegSz) {
    err << "ccaddin-reg: " << name << " is a " << RegTypeName(value.type)
        << " value; the add-in reads only string values and uses the default\n";
  }
  return kExitOk;
}

int Set(const std::string& path, const CommandLine& cl, std::ostream& err) {
  const RegistryValue value =
      MakeValue(cl.type, FromConsole(cl.operands[0], "the name"), cl.operands[1]);
  auto store = OpenStore(path);
  const RegStatus status = store->SetValue(OpenKey(*store), value);
  Check(status, *store);
  if (status == RegStatus::kNotFound) throw Failed{"the key " + FullKeyName() + " was removed"};
  if (FindSettingByValueName(value.name) == nullptr) {
    err << "ccaddin-reg: note: " << cl.operands[0]
        << " is not one of the add-in's settings (see: ccaddin-reg show)\n";
  }
  return kExitOk;
}

int Delete(const std::string& path, const std::string& name) {
  auto store = OpenStore(path);
  const RegStatus status = store->DeleteValue(OpenKey(*store), FromConsole(name, "the name"));
  Check(status, *store);
  if (status == RegStatus::kNotFound) throw Failed{"no value " + name};
  return kExitOk;
}

int Import(const std::string& path, const std::string& file, std::ostream& out) {
  std::ifstream in(file, std::ios::binary);
  if (!in) throw Failed{"cannot read " + file + ": " + std::strerror(errno)};
  std::ostringstream bytes;
  bytes << in.rdbuf();
  if (in.bad()) throw Failed{"cannot read " + file};

  std::vector<RegistryChange> changes;
  RegFileError error;
  if (!ParseRegFile(bytes.str(), AcceptedKeys(), &changes, &error)) {
    throw Failed{file + ":" + (error.line > 0 ? std::to_string(error.line) + ":" : "") + " " +
                 error.message + "; nothing was imported"};
  }
  auto store = OpenStore(path);
  if (store->Apply(kHkeyLocalMachine, SubKey(), changes) != RegStatus::kOk) {
    throw Failed{store->error() + "; nothing was imported"};
  }
  size_t removed = 0;
  for (const RegistryChange& c : changes) removed += c.remove ? 1 : 0;
  out << "imported " << file << ": " << changes.size() - removed << " values set, " << removed
      << " removed\n";
  return kExitOk;
}

int Export(const std::string& path, const CommandLine& cl, std::ostream& out) {
  const bool to_file = !cl.operands.empty() && cl.operands[0] != "-";
  RegFileFormat format = to_file ? RegFileFormat::kRegedit5 : RegFileFormat::kRegedit4;
  if (cl.format == "4" || cl.format == "regedit4") {
    format = RegFileFormat::kRegedit4;
  } else if (cl.format == "5" || cl.format == "regedit5") {
    format = RegFileFormat::kRegedit5;
  } else if (!cl.format.empty()) {
    throw UsageError{"unknown format " + cl.format + " (4 or 5)"};
  }
  auto store = OpenStore(path);
  std::vector<RegistryValue> values;
  Check(store->ListValues(OpenKey(*store), &values), *store);
  const std::string bytes = WriteRegFile(format, FullKeyName(), values);
  if (to_file) {
    WriteFileAtomically(cl.operands[0], bytes);
  } else {
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  return kExitOk;
}

int Show(const std::string& path, std::ostream& out, std::ostream& err) {
  // Why every value might be a default, said once before the list.
  std::unique_ptr<RegistryStore> store;
  std::string error;
  const RegStatus status = RegistryStore::Open(path, &store, &error);
  int64_t key = 0;
  if (status == RegStatus::kNotFound) {
    err << "ccaddin-reg: no registry database at " << path << "; every setting takes its default\n";
  } else if (status == RegStatus::kFailed) {
    err << "ccaddin-reg: " << error << "; every setting takes its default\n";
  } else if (const RegStatus k = store->OpenKey(kHkeyLocalMachine, SubKey(), &key);
             k != RegStatus::kOk) {
    err << "ccaddin-reg: "
        << (k == RegStatus::kNotFound ? "the key " + FullKeyName() + " does not exist"
                                      : store->error())
        << "; every setting takes its default\n";
  }
  store.reset();

  TCcAddinRegistry settings;
  settings.ReadRegistry();
  const std::string separator = CurrentDecimalSeparator();
  for (const SettingDef& s : CcAddinSettings()) {
    out << s.property << " = " << Windows1252ToUtf8(SettingDisplayText(settings, s, separator))
        << '\n';
  }
  return kExitOk;
}

}  // namespace

int RunRegAdmin(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  try {
    const CommandLine cl = Parse(args);
    if (cl.help) {
      out << kUsage;
      return kExitOk;
    }
    // "show" reads through the add-in itself, which finds the database through the
    // environment; --db points it there for this command only.
    const ScopedRegistryPath scoped_path(cl.db);
    const std::string path = cl.db.empty() ? RegistryStore::DatabasePath() : cl.db;
    const std::string& c = cl.command;
    if (c == "init") return Init(path, out);
    if (c == "list") return List(path, out);
    if (c == "get") return Get(path, cl.operands[0], out, err);
    if (c == "set") return Set(path, cl, err);
    if (c == "delete") return Delete(path, cl.operands[0]);
    if (c == "import") return Import(path, cl.operands[0], out);
    if (c == "export") return Export(path, cl, out);
    return Show(path, out, err);
  } catch (const UsageError& e) {
    err << "ccaddin-reg: " << e.message << " (see: ccaddin-reg --help)\n";
    return kExitUsage;
  } catch (const Failed& e) {
    err << "ccaddin-reg: " << e.message << '\n';
    return kExitFailed;
  } catch (const std::exception& e) {
    err << "ccaddin-reg: " << e.what() << '\n';
    return kExitFailed;
  }
}

}  // namespace ccaddin
