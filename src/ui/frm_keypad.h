// frmKeypad: the on-screen keypad of touch-screen tills, numeric (with or without
// decimal entry) or alphanumeric, that fills one entry field of another window. The
// caller sets the keypad inputs of the shared session state (bKeypadNumeric,
// lKeypadMaxLength, bKeypadDecimal, lKeypadExponent), shows it modally and, after it
// closed, reads bKeypadOk and strKeypadText. Typing on a real keyboard is ignored.
#pragma once

#include "ui/form.h"

namespace ccaddin {

class frmKeypad final : public Form {
 public:
  frmKeypad();

 private:
  void Form_Load() override;
  void cmdNumeric_Click(int16_t Index);
  void cmdAlpha_Click(int16_t Index);
  void cmdDel_Click();
  void cmdAlphaDel_Click();
  void cmdOK_Click();
  void cmdCancel_Click();
  void txtEntry_KeyPress(int16_t& KeyAscii);

  void Layout(bool numeric, const ScreenTwips& screen);
  // The new text of txtEntry, with the caret after its last character.
  void ShowEntry(std::string text);
  // True when another character may be added.
  [[nodiscard]] bool HasRoom() const;

  Control& txtEntry;
  Control& fraNumeric;
  ControlArray& cmdNumeric;
  Control& cmdDel;
  Control& fraAlphaNumeric;
  ControlArray& cmdAlpha;
  Control& cmdAlphaDel;
  Control& cmdOK;
  Control& cmdCancel;
};

}  // namespace ccaddin
