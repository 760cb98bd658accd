#include "qlclient/ql_factory.h"

#include "qlclient/sim/simulator.h"

namespace ccaddin {
namespace {
QlFactory* installed = nullptr;
}  // namespace

QlFactory& CurrentQlFactory() {
  return installed ? *installed : sim::SimulatorFactory();
}

void SetQlFactory(QlFactory* factory) {
  installed = factory;
}

}  // namespace ccaddin
