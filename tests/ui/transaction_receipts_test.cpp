#include "ui/transaction/transaction_receipts.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "payment/credit_card_common.h"
#include "platform/virtual_env.h"
#include "qlclient/ql_codes.h"
#include "receipts/recording_pos_printer.h"
#include "support/golden_text.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

// The window's copies of one sale and of the outcomes after it, as the printer, the
// receipt folder and the till see them, against one golden text. Nobody answers the
// tapped card's question here, which counts as No: a copy printed anyway was not asked.
TEST(TransactionReceipts, CopiesRePrintAndThePrintRulesAsPrinterFilesAndTillSeeThem) {
  VirtualEnv env;
  ScopedEnv scoped_env(&env);
  ScopedSharedState scoped_state;
  testing::TempDir dir;
  testing::RecordingPrinter printer;
  TransactionReceipts receipts(&printer);

  CreditCardCommon& c = Shared();
  c.lPrinterType = 1;
  c.lBaseCurrencyExponent = 2;
  c.strReceiptFileLocation = dir.file("rcpt");
  c.oTillInfo.strStoreNumber = "12";
  c.bSaveReceipts = c.bMakeMerchantReceiptsAvailableToClient = c.bPromptTappedCustomerReceipt =
      true;
  c.oCustomerReceiptStartText = std::make_unique<TReceiptDataInterpreter>();
  c.oCustomerReceiptStartText->ParseReceiptData("WELCOME", "", "");
  QlTransaction t;  // a swiped sale of 19.99 that the customer signed for
  t.lEntryMethodCode = t.lCustomerPresence = t.lTransactionTypeCode = t.lStatus = 1;
  t.strPan = "6759649826438453";
  t.strAmount = "1999";
  t.lTransRefNo = 4712;
  t.lCvmCode = QL_CVM_SIGNATURE;

  std::string seen;
  const auto print = [&](const std::string& what, bool merchant, bool duplicate) {
    printer.printed.clear();
    const int32_t rc = receipts.PrintTransactionReceipt(t, merchant, duplicate);
    seen += "=== " + what + ": " + (rc == 0 ? "0" : "1 " + receipts.strErrorMessage()) +
            ", last copy " + (receipts.bLastCopyMerchant() ? "merchant\n" : "customer\n") +
            printer.printed;
  };
  print("merchant copy", true, false);
  print("customer copy", false, false);
  env.Advance(90'000);
  print("re-print", false, true);
  c.bSaveReceipts = false;
  t.lEntryMethodCode = QL_ENTRY_TAPPED;
  t.lCvmCode = QL_CVM_NONE;
  print("tapped, merchant copy", true, false);
  print("tapped, the customer wants no receipt", false, false);
  print("a duplicate asked for", false, true);
  t.lStatus = QL_STATUS_DECLINED;
  c.lPrintReceiptsBitmap = 4;
  print("declined, merchant copy suppressed", true, false);
  c.bCustomerReceiptDisabled = true;
  print("the till prints the customer's", false, false);
  c.bCustomerReceiptDisabled = false;
  printer.fail_on = "PrintNormal";
  print("out of paper", false, true);

  seen += "=== files left\n";
  std::set<std::string> files;
  for (const auto& f : std::filesystem::directory_iterator(dir.file("rcpt"))) {
    const std::string name = f.path().filename().string();
    files.insert(name);
    EXPECT_EQ(dir.Read("rcpt/" + name).find(t.strPan), std::string::npos) << name;
  }
  for (const std::string& name : files) seen += name + "\n";
  seen += "=== handed to the till (type, signature)\n";
  for (const ClientReceipt& r : c.oClientReceipts) {
    seen += std::to_string(r.lType) + (r.bSignatureRequired ? " signed\n" : "\n") + r.strText;
  }
  seen += "=== the till's customer receipt\n" + c.strLastCustomerReceipt;
  EXPECT_TRUE(testing::MatchesGolden(seen, "receipts/window_copies_and_print_rules.txt"));
}

}  // namespace
}  // namespace ccaddin
