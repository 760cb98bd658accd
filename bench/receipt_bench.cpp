// Composing one receipt copy: what the till waits for between the authorisation and the
// printer starting, per copy. In memory only, and written to a receipt file.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "payment/credit_card_common.h"
#include "receipts/receipt.h"

namespace {

using namespace ccaddin;

QlTransaction ChipSale() {
  QlTransaction t;
  t.lEntryMethodCode = 2;
  t.strPan = "4761739001010119";
  t.strExpiryDate = "2712";
  t.lTransactionTypeCode = 1;
  t.strAmount = "2450";
  t.lStatus = 1;
  t.strAuthCode = "123456";
  t.strResponseText = "AUTHORISED";
  t.lTransRefNo = 4711;
  t.lAuthSource = 2;
  t.lCvmCode = 1;
  t.strTerminalId = "22160001";
  t.strMerchantNo = "21234567";
  t.strSchemeName = "VISA";
  t.strAid = "A0000000031010";
  t.strAppLabel = "VISA CREDIT";
  t.strCryptogram = "8A1F03C2D4E5B697";
  t.strPanSeqNo = "01";
  t.strCurrencyText = "GBP";
  t.bMerchPrintExpiry = true;
  t.bMerchPrintAuthSource = true;
  return t;
}

TTillInformation Till() {
  TTillInformation till;
  till.strMerchantName = "HARBOUR ROAD STORES";
  till.strAddressLine1 = "12 Harbour Road";
  till.strStoreNumber = "12";
  till.strTillNumber = "3";
  till.strReceiptNumber = "000981";
  return till;
}

void BM_ComposeMerchantCopyInMemory(benchmark::State& state) {
  Shared().bPrintMerchantHeader = true;
  const QlTransaction trans = ChipSale();
  const TTillInformation till = Till();
  for (auto _ : state) {
    TReceipt receipt;
    receipt.strTime = "1030";
    if (receipt.WriteReceiptFile(trans, till, "", true, false, "", true) != 0) {
      state.SkipWithError(receipt.strErrorMessage().c_str());
      break;
    }
    benchmark::DoNotOptimize(receipt.strReceipt().data());
  }
}
BENCHMARK(BM_ComposeMerchantCopyInMemory)->Unit(benchmark::kMicrosecond);

void BM_ComposeMerchantCopyToFile(benchmark::State& state) {
  std::string pattern = (std::filesystem::temp_directory_path() / "ccaddin-bench-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    state.SkipWithError("mkdtemp failed");
    return;
  }
  Shared().bPrintMerchantHeader = true;
  const QlTransaction trans = ChipSale();
  const TTillInformation till = Till();
  for (auto _ : state) {
    TReceipt receipt;
    receipt.strTime = "1030";
    // The same name every time: one file rewritten, not a folder filling up.
    if (receipt.WriteReceiptFile(trans, till, pattern, true, false, "bench.rcpt") != 0) {
      state.SkipWithError(receipt.strErrorMessage().c_str());
      break;
    }
  }
  std::filesystem::remove_all(pattern);
}
BENCHMARK(BM_ComposeMerchantCopyToFile)->Unit(benchmark::kMicrosecond);

}  // namespace
