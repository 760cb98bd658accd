// The demo till: a small till of its own that tenders through libccaddin.so's C ABI only,
// as a till written in any language would. Amount, cashback and gratuity; one button per
// operation; the last TTransactionInfo and the receipts of the last tender in 40 columns.
// An operation whose public class this build of the library cannot create says so on its
// button and when pressed, and calls nothing.
#pragma once

#include <QWidget>
#include <functional>
#include <string>

#include "ccaddin/ccaddin.h"

class QLabel;
class QLineEdit;
class QPlainTextEdit;

namespace ccaddin::demo {

class Addin;

class DemoTill final : public QWidget {
 public:
  struct Operation;  // a button: its public class and how it is called
  // `site`: the demo site's folder (its receipts/ holds the copies this till shows).
  DemoTill(Addin& addin, std::string site);
  ~DemoTill() override;

  void SetAmount(const QString& amount);
  // Runs an operation as its button does ("Sale", "Void" ...). Returns when it has ended:
  // the component's window is modal.
  void Run(const QString& operation);
  // What the last operation left: a one-line outcome (or the refusal), the record, the
  // receipts. For a run without a screen.
  [[nodiscard]] std::string Outcome() const;
  [[nodiscard]] std::string Record() const;
  [[nodiscard]] std::string Receipts() const;
  // True when the last tender was paid.
  [[nodiscard]] bool Paid() const { return paid_; }

  // Called after each operation (the operator panel spends its one-shot fault).
  std::function<void()> on_ended;

 private:
  void Start(const Operation& op);
  void Tender(ccaddin_object* hook, const Operation& op, int32_t amount, int32_t cashback,
              int32_t gratuity);
  void ShowRecord();
  void ShowReceipts(const std::string& customer_copy);
  void Say(const std::string& text, bool trouble);
  bool ReadAmount(QLineEdit* box, const char* what, bool needed, int32_t& minor);

  Addin& addin_;
  std::string site_;
  ccaddin_object* till_ = nullptr;  // TTillInformation, from the demo site's shop
  ccaddin_object* info_ = nullptr;  // TTransactionInfo of the last operation
  bool paid_ = false;
  std::string token_;  // the last card token returned, for a token sale
  QLineEdit* amount_ = nullptr;
  QLineEdit* cashback_ = nullptr;
  QLineEdit* gratuity_ = nullptr;
  QLineEdit* reference_ = nullptr;  // transaction number for a void or a duplicate
  QLabel* message_ = nullptr;
  QPlainTextEdit* record_ = nullptr;
  QPlainTextEdit* receipts_ = nullptr;
};

}  // namespace ccaddin::demo
