#include "ui/headless/script_in_force.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>

#include "ui/form_call_scope.h"
#include "ui/form_catalogue.h"
#include "ui/headless/headless_loop.h"

namespace ccaddin {

namespace {

void ToCallJournal(const std::string& line) {
  if (TAddinLog* journal = CurrentFormJournal()) journal->LogOperatorScript(line);
}

ScriptPictureDrawer& Drawer() {
  static ScriptPictureDrawer* drawer = new ScriptPictureDrawer;
  return *drawer;
}

// Pictures land beside the script unless their names say otherwise, so a till's CI finds
// them with the script that asked for them.
HeadlessOptions PicturesBeside(const std::string& script) {
  HeadlessOptions options;
  const std::filesystem::path folder = std::filesystem::path(script).parent_path();
  options.picture = [folder](Form& form, const Control* part, const std::string& file) {
    const std::string png = (folder / file).string();
    std::string error = "no display toolkit in this process";
    if (!Drawer() || !Drawer()(form, part, png, error)) {
      ToCallJournal("picture " + png + " not drawn: " + error);
    }
  };
  return options;
}

// The loop a script runs in, counting its open windows (a window can open another), so
// that a changed script never replaces a loop while it still shows one.
class CountingLoop final : public FormLoop {
 public:
  explicit CountingLoop(std::unique_ptr<FormLoop> inner) : inner_(std::move(inner)) {}
  bool ShowModal(Form& form, std::string& error) override {
    ++open_;
    const bool shown = inner_->ShowModal(form, error);
    --open_;
    return shown;
  }
  ScreenTwips AvailableScreen() override { return inner_->AvailableScreen(); }
  [[nodiscard]] bool Busy() const { return open_ > 0; }

 private:
  std::unique_ptr<FormLoop> inner_;
  int open_ = 0;
};

ScriptedDisplayFactory& DisplayFactory() {
  static auto* factory = new ScriptedDisplayFactory;  // process lifetime, as the loops'
  return *factory;
}

struct LoadedScript {
  std::string path;
  struct stat seen {};
  std::string refusal;  // empty: in force
  bool on_display = false;
  std::unique_ptr<CountingLoop> loop;
};

bool SameFile(const struct stat& a, const struct stat& b) {
  return a.st_ino == b.st_ino && a.st_dev == b.st_dev && a.st_size == b.st_size &&
         a.st_mode == b.st_mode && a.st_uid == b.st_uid && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
         a.st_mtim.tv_nsec == b.st_mtim.tv_nsec && a.st_ctim.tv_sec == b.st_ctim.tv_sec &&
         a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
}

// Reads the script again when the variable or the file changed, except while a window
// of the old one is still open.
LoadedScript* Current() {
  static LoadedScript* loaded = new LoadedScript;  // process lifetime, as the variable's
  const char* variable = std::getenv(kOperatorScriptVariable);
  if (variable == nullptr || *variable == '\0') return nullptr;
  const std::string path = variable;
  struct stat st {};
  const bool readable = stat(path.c_str(), &st) == 0;
  if (loaded->loop && loaded->path == path && readable && SameFile(st, loaded->seen)) return loaded;
  if (loaded->loop && loaded->loop->Busy()) return loaded;

  loaded->path = path;
  loaded->seen = st;
  std::string refusal;
  std::optional<OperatorScript> script;
  if (!readable) {
    refusal = path + " cannot be read (" + std::strerror(errno) + ")";
  } else if (!S_ISREG(st.st_mode)) {
    refusal = path + " is not a file";
  } else if ((st.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    refusal = path + " can be written by others than its owner";
  } else {
    const FormCatalogue forms;
    script = OperatorScript::Load(path, forms.Forms(), refusal);
  }
  loaded->refusal = refusal;
  const char* display = std::getenv(kOperatorDisplayVariable);
  loaded->on_display =
      script && DisplayFactory() && display != nullptr && std::string(display) == "1";
  std::unique_ptr<FormLoop> loop;
  if (loaded->on_display) {
    loop = DisplayFactory()(std::move(*script), ToCallJournal);
  } else {
    loop =
        std::make_unique<HeadlessLoop>(script ? ScriptRunner(std::move(*script), ToCallJournal)
                                              : ScriptRunner("refused: " + refusal, ToCallJournal),
                                       PicturesBeside(path));
  }
  loaded->loop = std::make_unique<CountingLoop>(std::move(loop));
  return loaded;
}

}  // namespace

FormLoop* ScriptedLoop() {
  LoadedScript* loaded = Current();
  return loaded == nullptr ? nullptr : loaded->loop.get();
}

void InstallScriptPictures(ScriptPictureDrawer drawer) {
  Drawer() = std::move(drawer);
}

FormLoop& UnattendedLoop() {
  static HeadlessLoop* loop =
      new HeadlessLoop(ScriptRunner("no display toolkit in this process", ToCallJournal));
  return *loop;
}

std::string ScriptInForceNotice() {
  const LoadedScript* loaded = Current();
  if (loaded == nullptr) return {};
  if (!loaded->refusal.empty()) {
    return "operator script refused (" + loaded->refusal + "): every window takes its safe way out";
  }
  return "operator script in force: " + loaded->path +
         (loaded->on_display ? " (windows drawn on the display)"
                             : " (windows run without display)");
}

void InstallScriptedDisplayLoop(ScriptedDisplayFactory factory) {
  DisplayFactory() = std::move(factory);
}

}  // namespace ccaddin
