#include "qlclient/sim/simulator.h"

#include "qlclient/sim/sim_objects.h"

namespace ccaddin::sim {
namespace {

class SimFactory final : public QlFactory {
 public:
  std::unique_ptr<QlSession> CreateSession() override { return MakeSession(); }
  std::unique_ptr<QlParameters> CreateParameters() override { return MakeParameters(); }
  std::unique_ptr<QlLogin> CreateLogin() override { return MakeLogin(); }
  std::unique_ptr<QlCardReader> CreateCardReader() override { return MakeCardReader(); }
  std::unique_ptr<QlCardReaderStatus> CreateCardReaderStatus() override {
    return MakeCardReaderStatus();
  }
  std::unique_ptr<QlCardEnquiry> CreateCardEnquiry() override { return MakeCardEnquiry(); }
  std::unique_ptr<QlTransactionStart> CreateTransactionStart() override {
    return MakeTransactionStart();
  }
  std::unique_ptr<QlDccEnquiry> CreateDccEnquiry() override { return MakeDccEnquiry(); }
  std::unique_ptr<QlTransactionProcessor> CreateTransactionProcessor() override {
    return MakeTransactionProcessor();
  }
  std::unique_ptr<QlConfirm> CreateConfirm() override { return MakeConfirm(); }
  std::unique_ptr<QlFuelBalance> CreateFuelBalance() override { return MakeFuelBalance(); }
  std::unique_ptr<QlReceiptInfo> CreateReceiptInfo() override { return MakeReceiptInfo(); }
  std::unique_ptr<QlCloseBatch> CreateCloseBatch() override { return MakeCloseBatch(); }
  std::unique_ptr<QlReport> CreateReport() override { return MakeReport(); }
  std::unique_ptr<QlFuelProductEnquiry> CreateFuelProductEnquiry() override {
    return MakeFuelProductEnquiry();
  }
};

}  // namespace

QlFactory& SimulatorFactory() {
  static SimFactory* factory = new SimFactory();
  return *factory;
}

}  // namespace ccaddin::sim
