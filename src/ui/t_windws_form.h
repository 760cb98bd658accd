// TWindwsForm: puts a window in the top-most band, above every other window (the till's
// own included), or takes it out again. Stateless; the view applies the change at once.
#pragma once

#include <cstdint>

#include "ui/form.h"

namespace ccaddin {

class TWindwsForm {
 public:
  // Topmost True: the window joins the top-most band, without moving or resizing, and the
  // result is the placement's success (1). False: it leaves the band and the result is 0.
  static int32_t SetTopMostWindow(Form& hwnd, bool Topmost);
};

}  // namespace ccaddin
