#include "ui/frm_keypad.h"

#include <algorithm>
#include <limits>

#include "payment/credit_card_common.h"
#include "platform/text_box_format.h"
#include "ui/t_windws_form.h"

namespace ccaddin {

namespace {

// Layout in twips: keys large enough for a finger, on a grid.
constexpr int32_t kMargin = 120;
constexpr int32_t kEntryHeight = 600;
constexpr int32_t kFrameTop = kMargin + kEntryHeight + kMargin;
constexpr int32_t kButtonWidth = 1980;
constexpr int32_t kButtonHeight = 900;

// Numeric keys 1,200 by 900 on a 1,320 by 1,020 pitch: three rows of three, then the
// zero two keys wide and Delete.
constexpr int32_t kNumWidth = 1200;
constexpr int32_t kNumHeight = 900;
constexpr int32_t kNumGap = 120;
constexpr int32_t kNumericWidth = 3 * kNumWidth + 4 * kNumGap;
constexpr int32_t kNumericHeight = 4 * kNumHeight + 5 * kNumGap;

// Letter keys 900 square on a 990 pitch: a row of digits, then the three letter rows,
// staggered as on a keyboard, with Delete after the last.
constexpr int32_t kKey = 900;
constexpr int32_t kPitch = 990;
constexpr int32_t kAlphaWidth = 10 * kPitch + kPitch - kKey;
constexpr int32_t kAlphaHeight = 4 * kPitch + kPitch - kKey;

constexpr char kNumericKeys[] = "7894561230";
constexpr char kAlphaKeys[] = "QWERTYUIOPASDFGHJKLZXCVBNM0123456789";

const Font kKeyFont{12, true, Alignment::Centre};

Twips NumericKey(int32_t index) {
  if (index == 9)
    return {kNumGap, kNumGap + 3 * (kNumHeight + kNumGap), 2 * kNumWidth + kNumGap, kNumHeight};
  return {kNumGap + (index % 3) * (kNumWidth + kNumGap),
          kNumGap + (index / 3) * (kNumHeight + kNumGap), kNumWidth, kNumHeight};
}

Twips AlphaKey(int32_t index) {
  const int32_t gap = kPitch - kKey;
  auto at = [&](int32_t row, int32_t column, int32_t offset) {
    return Twips{gap + offset + column * kPitch, gap + row * kPitch, kKey, kKey};
  };
  if (index >= 26) return at(0, index == 26 ? 9 : index - 27, 0);  // 1 to 9, then 0
  if (index < 10) return at(1, index, 0);
  if (index < 19) return at(2, index - 10, kPitch / 2);
  return at(3, index - 19, kPitch);
}

std::vector<std::string> Captions(const char* keys) {
  std::vector<std::string> captions;
  for (const char* k = keys; *k != '\0'; ++k) captions.emplace_back(1, *k);
  return captions;
}

int16_t Narrow(int32_t value) {
  return static_cast<int16_t>(std::clamp<int32_t>(value, 0, std::numeric_limits<int16_t>::max()));
}

}  // namespace

frmKeypad::frmKeypad()
    : Form("frmKeypad", "Keypad", {}),
      txtEntry(AddTextBox("txtEntry", {kMargin, kMargin, kNumericWidth, kEntryHeight}, "Entry")),
      fraNumeric(AddFrame("fraNumeric", {kMargin, kFrameTop, kNumericWidth, kNumericHeight})),
      cmdNumeric(AddButtonArray("cmdNumeric", Captions(kNumericKeys), NumericKey, &fraNumeric)),
      cmdDel(AddButton("cmdDel", {NumericKey(8).left, NumericKey(9).top, kNumWidth, kNumHeight},
                       "Delete", &fraNumeric)),
      fraAlphaNumeric(AddFrame("fraAlphaNumeric", {kMargin, kFrameTop, kAlphaWidth, kAlphaHeight})),
      cmdAlpha(AddButtonArray("cmdAlpha", Captions(kAlphaKeys), AlphaKey, &fraAlphaNumeric)),
      cmdAlphaDel(AddButton("cmdAlphaDel",
                            {AlphaKey(25).left + kPitch, AlphaKey(25).top, kKey + kPitch, kKey},
                            "Delete", &fraAlphaNumeric)),
      cmdOK(AddButton("cmdOK", {}, "OK")),
      cmdCancel(AddButton("cmdCancel", {}, "Cancel")) {
  txtEntry.SetFont({14, true, Alignment::Left});
  for (Control* key : {&cmdDel, &cmdAlphaDel, &cmdOK, &cmdCancel}) key->SetFont(kKeyFont);
  for (int32_t i = 0; i < cmdNumeric.Count(); ++i) cmdNumeric[i].SetFont(kKeyFont);
  for (int32_t i = 0; i < cmdAlpha.Count(); ++i) cmdAlpha[i].SetFont(kKeyFont);
  SetDefaultButton(cmdOK);
  SetCancelButton(cmdCancel);
  DeclareSafeWayOut({&cmdCancel});
  Layout(true, {});

  OnClick(cmdNumeric, &frmKeypad::cmdNumeric_Click);
  OnClick(cmdAlpha, &frmKeypad::cmdAlpha_Click);
  OnClick(cmdDel, &frmKeypad::cmdDel_Click);
  OnClick(cmdAlphaDel, &frmKeypad::cmdAlphaDel_Click);
  OnClick(cmdOK, &frmKeypad::cmdOK_Click);
  OnClick(cmdCancel, &frmKeypad::cmdCancel_Click);
  OnKeyPress(txtEntry, &frmKeypad::txtEntry_KeyPress);
}

void frmKeypad::Form_Load() {
  CreditCardCommon& shared = Shared();
  txtEntry.SetText("");
  fraNumeric.SetVisible(shared.bKeypadNumeric);
  fraAlphaNumeric.SetVisible(!shared.bKeypadNumeric);
  shared.bKeypadOk = false;
  if (shared.bAlwaysOnTop) (void)TWindwsForm::SetTopMostWindow(*this, true);
  Layout(shared.bKeypadNumeric, Screen());
}

// The window fits the keypad shown, centred on the screen.
void frmKeypad::Layout(bool numeric, const ScreenTwips& screen) {
  const int32_t width = numeric ? kNumericWidth : kAlphaWidth;
  const int32_t buttons_top = kFrameTop + (numeric ? kNumericHeight : kAlphaHeight) + kMargin;
  txtEntry.Move({kMargin, kMargin, width, kEntryHeight});
  cmdCancel.Move({kMargin + width - kButtonWidth, buttons_top, kButtonWidth, kButtonHeight});
  cmdOK.Move({cmdCancel.Geometry().left - kMargin - kButtonWidth, buttons_top, kButtonWidth,
              kButtonHeight});
  const int32_t form_width = width + 2 * kMargin;
  const int32_t form_height = buttons_top + kButtonHeight + kMargin;
  Move({std::max(0, (screen.width - form_width) / 2),
        std::max(0, (screen.height - form_height) / 2), form_width, form_height});
}

bool frmKeypad::HasRoom() const {
  const int32_t longest = Shared().lKeypadMaxLength;
  return longest <= 0 || static_cast<int32_t>(txtEntry.Text().size()) < longest;
}

void frmKeypad::ShowEntry(std::string text) {
  txtEntry.SetText(std::move(text));
  txtEntry.SetSelStart(static_cast<int32_t>(txtEntry.Text().size()));
}

void frmKeypad::cmdNumeric_Click(int16_t Index) {
  if (!HasRoom()) return;
  const CreditCardCommon& shared = Shared();
  const char digit = kNumericKeys[Index];
  if (shared.bKeypadDecimal) {
    ShowEntry(TextBoxFormat::ExpFormat(Narrow(shared.lKeypadExponent), txtEntry.Text(), digit,
                                       Narrow(shared.lKeypadMaxLength)));
  } else {
    ShowEntry(txtEntry.Text() + digit);
  }
}

void frmKeypad::cmdAlpha_Click(int16_t Index) {
  if (HasRoom()) ShowEntry(txtEntry.Text() + kAlphaKeys[Index]);
}

void frmKeypad::cmdDel_Click() {
  const CreditCardCommon& shared = Shared();
  if (txtEntry.Text().empty()) return;
  if (shared.bKeypadNumeric && shared.bKeypadDecimal) {
    // Through the amount rule, so that the text stays an amount with its point in place.
    ShowEntry(TextBoxFormat::ExpFormat(Narrow(shared.lKeypadExponent), txtEntry.Text(),
                                       kKeyBackspace, Narrow(shared.lKeypadMaxLength)));
  } else {
    cmdAlphaDel_Click();
  }
}

void frmKeypad::cmdAlphaDel_Click() {
  const std::string& text = txtEntry.Text();
  if (!text.empty()) ShowEntry(text.substr(0, text.size() - 1));
}

void frmKeypad::cmdOK_Click() {
  CreditCardCommon& shared = Shared();
  shared.bKeypadOk = true;
  shared.strKeypadText = txtEntry.Text();
  Unload();
}

void frmKeypad::cmdCancel_Click() {
  Shared().bKeypadOk = false;
  Unload();
}

// The entry is built with the keys on the screen only.
void frmKeypad::txtEntry_KeyPress(int16_t& KeyAscii) {
  KeyAscii = 0;
}

}  // namespace ccaddin
