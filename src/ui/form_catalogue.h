// The component's windows, as designed (controls only, nothing loaded): what operator
// scripts are checked against before they run. Each window of the component adds its
// line in form_catalogue.cpp. Constructing a design reads nothing and never blocks.
#pragma once

#include <memory>
#include <vector>

#include "ui/form.h"

namespace ccaddin {

class FormCatalogue {
 public:
  FormCatalogue();
  // A window of a test or of another program that scripts may also meet.
  void Add(std::unique_ptr<Form> design);
  [[nodiscard]] const std::vector<const Form*>& Forms() const { return views_; }

 private:
  std::vector<std::unique_ptr<Form>> designs_;
  std::vector<const Form*> views_;
};

}  // namespace ccaddin
