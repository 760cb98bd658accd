#include "ui/loop.h"

#include "ui/headless/script_in_force.h"

namespace ccaddin {

namespace {

thread_local FormLoop* scoped_loop = nullptr;

std::function<std::unique_ptr<FormLoop>()>& DisplayFactory() {
  static auto* factory = new std::function<std::unique_ptr<FormLoop>()>;
  return *factory;
}

}  // namespace

FormLoop& CurrentFormLoop() {
  if (scoped_loop != nullptr) return *scoped_loop;
  if (FormLoop* scripted = ScriptedLoop()) return *scripted;
  // Made once, on the first window, and kept: the display toolkit lives as long as the
  // process.
  static FormLoop* display = nullptr;
  if (display == nullptr && DisplayFactory()) display = DisplayFactory()().release();
  return display != nullptr ? *display : UnattendedLoop();
}

void InstallDisplayLoop(std::function<std::unique_ptr<FormLoop>()> factory) {
  DisplayFactory() = std::move(factory);
}

ScopedFormLoop::ScopedFormLoop(FormLoop* loop) : previous_(scoped_loop) {
  scoped_loop = loop;
}

ScopedFormLoop::~ScopedFormLoop() {
  scoped_loop = previous_;
}

}  // namespace ccaddin
