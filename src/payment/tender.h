// TTender: the ledger of one till tender paid by card, split over up to three cards (parts
// 0 to 2). The hook that creates it owns it for one till call; the transaction window reads
// each part's amounts and writes back its state, reference and authorisation code.
// Nothing here blocks. An index outside 0 to 2 is a caller's mistake: the operation does
// nothing, gives False (updates), 0 or "" (reads), and leaves
// "TTender.<Operation>() Failed - Subscript out of range" in strErrorMessage.
// ConfirmTenders talks to the payment server and blocks as long as the library does.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace ccaddin {

class TTender {
 public:
  static constexpr int32_t kTenderCount = 3;

  // Part states. A part that was never initialised has state 0 and counts in no total.
  static constexpr int32_t kStatePending = 1;
  static constexpr int32_t kStateDeclined = 2;
  static constexpr int32_t kStateAuthorised = 3;
  static constexpr int32_t kStateCancelled = 4;

  // Sets the three amounts; the reference becomes 0, the state pending. The authorisation
  // code is left as it was: a part is initialised before it is processed.
  bool InitialiseTender(int32_t lIndex, int32_t lSaleAmount, int32_t lGratuityAmount,
                        int32_t lCashAmount);
  bool UpdateSaleAmount(int32_t lIndex, int32_t lAmount);
  bool UpdateCashAmount(int32_t lIndex, int32_t lAmount);
  bool UpdateTransRefNo(int32_t lIndex, int32_t lTransRefNo);
  bool UpdateAuthCode(int32_t lIndex, const std::string& strAuthCode);
  bool UpdateState(int32_t lIndex, int32_t lState);

  [[nodiscard]] int32_t GetSaleAmount(int32_t lIndex);
  [[nodiscard]] int32_t GetGratuityAmount(int32_t lIndex);
  [[nodiscard]] int32_t GetCashAmount(int32_t lIndex);
  [[nodiscard]] int32_t GetTransRefNo(int32_t lIndex);
  [[nodiscard]] std::string GetAuthCode(int32_t lIndex);
  [[nodiscard]] int32_t GetState(int32_t lIndex);

  // Sums over the authorised parts (state 3) only: what the cards actually paid. A sum
  // past 32 bits gives 0 and "TTender.<Operation>() Failed - Overflow".
  [[nodiscard]] int32_t GetTotalSaleAmount();
  [[nodiscard]] int32_t GetTotalCashAmount();
  [[nodiscard]] int32_t GetTotalGratuityAmount();

  // Settles every authorised part (state 3) with the payment server at the end of a split
  // payment: confirms them, or cancels them when bCancel. Uses the thread's loaded
  // configuration (Shared()); does nothing in operating mode 1 or with no authorised
  // part. The parts keep their states and the server's answers are not examined; a failure
  // to connect twice sends nothing and leaves the reason in strErrorMessage.
  void ConfirmTenders(bool bCancel);

  // The last failure; a later success does not clear it.
  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }

 private:
  struct Part {
    int32_t sale_amount = 0;
    int32_t cash_amount = 0;
    int32_t gratuity_amount = 0;
    int32_t trans_ref_no = 0;
    int32_t state = 0;
    std::string auth_code;
  };

  Part& At(int32_t lIndex);
  int32_t SumAuthorised(int32_t Part::*field) const;

  std::array<Part, kTenderCount> parts_{};
  std::string error_message_;
};

}  // namespace ccaddin
