#include "ui/t_windws_form.h"

namespace ccaddin {

int32_t TWindwsForm::SetTopMostWindow(Form& hwnd, bool Topmost) {
  hwnd.SetTopMost(Topmost);
  return Topmost ? 1 : 0;
}

}  // namespace ccaddin
