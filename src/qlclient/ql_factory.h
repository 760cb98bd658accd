// Where the payment-client objects come from. The component asks CurrentQlFactory()
// for each object it needs and owns what it gets. The built-in simulator is the
// default; a vendor adapter installs its own factory (it stays the installer's).
#pragma once

#include <memory>

#include "qlclient/ql_client.h"

namespace ccaddin {

class QlFactory {
 public:
  virtual ~QlFactory() = default;
  [[nodiscard]] virtual std::unique_ptr<QlSession> CreateSession() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlParameters> CreateParameters() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlLogin> CreateLogin() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlCardReader> CreateCardReader() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlCardReaderStatus> CreateCardReaderStatus() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlCardEnquiry> CreateCardEnquiry() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlTransactionStart> CreateTransactionStart() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlDccEnquiry> CreateDccEnquiry() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlTransactionProcessor> CreateTransactionProcessor() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlConfirm> CreateConfirm() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlFuelBalance> CreateFuelBalance() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlReceiptInfo> CreateReceiptInfo() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlCloseBatch> CreateCloseBatch() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlReport> CreateReport() = 0;
  [[nodiscard]] virtual std::unique_ptr<QlFuelProductEnquiry> CreateFuelProductEnquiry() = 0;
};

// The factory in use: the one installed last, else the built-in simulator's.
QlFactory& CurrentQlFactory();

// Installs `factory` (nullptr restores the simulator). Not owned.
void SetQlFactory(QlFactory* factory);

}  // namespace ccaddin
