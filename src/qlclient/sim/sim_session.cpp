// The terminal's connection side: configuration file, session, login and the card
// reader the window polls while it waits for a card.
#include <algorithm>
#include <filesystem>

#include "qlclient/sim/sim_objects.h"
#include "qlclient/sim/sim_terminal.h"

namespace ccaddin::sim {
namespace {

std::vector<int32_t> ReaderStates(const Terminal& t) {
  if (!t.reader_override.empty()) return t.reader_override;
  if (!t.config->reader_states.empty()) return t.config->reader_states;
  const SimCard& card = PresentedCard(t);
  if (!card.reader_states.empty()) return card.reader_states;
  return DefaultReaderStates(card);
}

std::string ReaderText(int32_t state) {
  switch (state) {
    case QL_READER_UNAVAILABLE:
      return "READER UNAVAILABLE";
    case QL_READER_WAITING:
      return "INSERT CARD";
    case QL_READER_INSERTED:
      return "CARD INSERTED";
    case QL_READER_OPENED:
      return "PLEASE WAIT";
    case QL_READER_PROCESSING:
      return "PROCESSING";
    case QL_READER_REMOVE_CARD:
      return "REMOVE CARD";
    case QL_READER_SWIPED:
    case QL_READER_SWIPED_ON_DEVICE:
      return "CARD SWIPED";
    case QL_READER_SWIPE_ON_TILL:
      return "SWIPE CARD ON TILL";
    case QL_READER_NOT_ACCEPTED:
      return "CARD NOT ACCEPTED";
    case QL_READER_TAPPED:
      return "CARD TAPPED";
    default:
      return "PLEASE WAIT";
  }
}

class SimParameters final : public QlParameters {
 public:
  void SetConfigFile(const std::string& folder, const std::string& name) override {
    if (folder.empty())
      path = name;
    else
      path = (std::filesystem::path(folder) / name).string();
  }
  std::string path;
};

class SimSession final : public QlSession {
 public:
  int32_t Connect(QlParameters& oParms, bool, int32_t) override {
    auto* parms = dynamic_cast<SimParameters*>(&oParms);
    if (!parms) {
      strErrorText = "PARAMETERS DO NOT BELONG TO THE SIMULATOR";
      return QL_CONNECT_FAILED;
    }
    if (parms->path.empty()) {
      strErrorText = "NO CONFIGURATION FILE SET";
      return QL_CONNECT_FAILED;
    }
    Terminal& t = TerminalFor(parms->path);
    terminal_ = &t;
    MakeCurrent(&t);
    if (!t.config) {
      strErrorText = t.load_error;
      return QL_CONNECT_FAILED;
    }
    int32_t result = 0;
    std::string text;
    if (Fault(&t, "Session.Connect", result, nullptr, text)) {
      strErrorText = text;
      return result;
    }
    try {
      if (!t.store) t.store = std::make_unique<SimStore>(t.config->store_path);
    } catch (const std::exception& e) {
      strErrorText = e.what();
      return QL_CONNECT_FAILED;
    }
    Show(t, "CONNECTING");
    t.connected = true;
    t.logged_in = false;
    t.online = t.config->online;
    if (!t.online) {
      Show(t, "OFFLINE");
      return QL_CONNECT_OFFLINE;
    }
    try {
      t.store->UploadOffline();
    } catch (const std::exception& e) {
      strErrorText = e.what();
      return QL_CONNECT_FAILED;
    }
    Show(t, "WELCOME");
    return QL_CONNECT_ONLINE;
  }
  int32_t Disconnect() override {
    if (terminal_) {
      terminal_->connected = false;
      terminal_->logged_in = false;
      terminal_->status = "CLOSED";
    }
    return 0;
  }
  std::string GetStatusText() override { return terminal_ ? terminal_->status : "NOT CONNECTED"; }

 private:
  Terminal* terminal_ = nullptr;
};

class SimLogin final : public QlLogin {
 public:
  int32_t Login(const std::string& merchant, const std::string& client, const std::string& password,
                int32_t) override {
    Terminal* t = Current();
    if (!t || !t->connected) {
      strErrorText = "NOT CONNECTED TO THE PAYMENT SERVER";
      return QL_LOGIN_FAILED;
    }
    int32_t result = 0;
    std::string text;
    if (Fault(t, "Login.Login", result, nullptr, text)) {
      strErrorText = text;
      return result;
    }
    const SimConfig& c = *t->config;
    if (c.merchant_id && *c.merchant_id != merchant) return QL_LOGIN_BAD_MERCHANT;
    if (c.client_id && *c.client_id != client) return QL_LOGIN_BAD_CLIENT;
    if (c.password && *c.password != password) return QL_LOGIN_BAD_PASSWORD;
    t->logged_in = true;
    return QL_LOGIN_LOGGED_IN;
  }
  int32_t Logout() override {
    Terminal* t = Current();
    int32_t result = 0;
    std::string text;
    if (Fault(t, "Login.Logout", result, nullptr, text)) {
      strErrorText = text;
      return result;
    }
    if (!t || !t->logged_in) {
      strErrorText = "NOT LOGGED IN";
      return QL_ANSWER_FAILED;
    }
    t->logged_in = false;
    return 0;
  }
};

class SimCardReader final : public QlCardReader {
 public:
  int32_t Reset() override {
    if (Terminal* t = Current()) {
      t->reader_index = 0;
      t->status = "INSERT CARD";
    }
    return 0;
  }
};

class SimCardReaderStatus final : public QlCardReaderStatus {
 public:
  int32_t Poll() override {
    Terminal* t = Current();
    if (!t || !t->connected) return 1;
    int32_t result = 0;
    std::string text;
    if (Fault(t, "CardReaderStatus.Poll", result, nullptr, text)) {
      t->status = text;
      return result;
    }
    const auto states = ReaderStates(*t);
    lReaderState = states[std::min(t->reader_index, states.size() - 1)];
    ++t->reader_index;
    t->status = ReaderText(lReaderState);
    return 0;
  }
};

}  // namespace

std::unique_ptr<QlParameters> MakeParameters() {
  return std::make_unique<SimParameters>();
}

std::unique_ptr<QlSession> MakeSession() {
  return std::make_unique<SimSession>();
}

std::unique_ptr<QlLogin> MakeLogin() {
  return std::make_unique<SimLogin>();
}

std::unique_ptr<QlCardReader> MakeCardReader() {
  return std::make_unique<SimCardReader>();
}

std::unique_ptr<QlCardReaderStatus> MakeCardReaderStatus() {
  return std::make_unique<SimCardReaderStatus>();
}

}  // namespace ccaddin::sim
