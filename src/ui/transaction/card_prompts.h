// What a card enquiry's answer asks of the window: the indices of a payment card's entry
// prompts and of a fuel card's prompts, the prompt values that matter, and the card date
// form the payment client takes. Shared by the card enquiry and the details frame.
#pragma once

#include <cstdint>
#include <string>

namespace ccaddin::card_prompts {

enum EntryPrompt : int32_t {
  kExpiry = 0,
  kStart = 1,
  kIssue = 2,
  kCv2 = 3,
  kPostcode = 4,
  kAddress = 5,
  kReference = 6,
};

enum FuelPrompt : int32_t {
  kFuelExpiry = 0,
  kFuelReg = 2,
  kFuelMileage = 3,
  kFuelProduct = 6,
  kFuelReference = 10,
  kFuelSuppId = 13,
};

// A prompt's value: 0 not asked, this one required, any other optional.
inline constexpr int32_t kRequired = 1;
// A fuel prompt type whose value the till passes on with the transaction.
inline constexpr int32_t kTypeSentWithTransaction = 4;

// Card dates are typed MMYY and travel YYMM; anything but four characters gives "".
inline std::string CardDate(const std::string& mmyy) {
  return mmyy.size() == 4 ? mmyy.substr(2, 2) + mmyy.substr(0, 2) : std::string();
}

}  // namespace ccaddin::card_prompts
