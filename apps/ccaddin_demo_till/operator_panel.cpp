#include "operator_panel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFormLayout>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QSaveFile>
#include <QSpinBox>
#include <QTimer>
#include <algorithm>

#include "addin.h"

namespace ccaddin::demo {

namespace {

// The simulator's catalogue, as the cardholder would describe the card.
constexpr std::pair<const char*, const char*> kCards[] = {
    {"", "no card yet (the terminal waits)"},
    {"visa_chip_pin", "Visa, chip and PIN"},
    {"mc_chip_signature", "Mastercard, chip and signature"},
    {"visa_contactless", "Visa, tapped"},
    {"mc_contactless_pin", "Mastercard, tapped with PIN"},
    {"visa_swipe", "Visa, swiped"},
    {"amex_keyed", "Amex, keyed at the till"},
    {"mc_fallback", "Mastercard, chip unreadable (swipe instead)"},
    {"discover_not_accepted", "Discover, not accepted"},
    {"mc_must_swipe", "Mastercard, swipe on the till"},
    {"visa_dcc_usd", "Visa from the USA (currency offer)"},
    {"visa_pin_bypass", "Visa, PIN bypass asked"},
    {"visa_referred", "Visa, referred"},
    {"mc_declined", "Mastercard, declined"},
    {"fuel_card", "Fuel card"},
    {"fuel_bunker", "Bunker fuel card"},
    {"visa_token", "Visa, returns a card token"},
};

// Amounts at which the simulator decides the outcome whatever the card.
constexpr std::pair<const char*, const char*> kOutcomes[] = {
    {"", "as the card says"},
    {"100.02", "referred"},
    {"100.03", "PIN bypass asked"},
    {"100.04", "fall back to swipe"},
    {"100.05", "declined"},
    {"100.10", "authorised offline by the terminal"},
    {"100.51", "server error"},
    {"102.00", "no answer from the card issuer"},
    {"300.01", "connection lost during the authorisation"},
};

// The panel's own fault, told apart from faults a merchant wrote into the file.
constexpr const char* kLostConnectionText = "CONNECTION LOST (operator panel)";

}  // namespace

OperatorPanel::OperatorPanel(Addin& addin, std::string config_file,
                             std::function<void(const QString&)> use_amount)
    : addin_(addin), config_file_(std::move(config_file)) {
  setWindowTitle("Simulated terminal");
  setObjectName("OperatorPanel");
  auto* form = new QFormLayout(this);
  card_ = new QComboBox(this);
  card_->setObjectName("card");
  for (const auto& [name, description] : kCards) {
    card_->addItem(*name ? QString("%1 (%2)").arg(description, name) : QString(description), name);
  }
  outcome_ = new QComboBox(this);
  outcome_->setObjectName("outcome");
  for (const auto& [amount, what] : kOutcomes) {
    outcome_->addItem(*amount ? QString("%1 (amount %2)").arg(what, amount) : QString(what),
                      amount);
  }
  offline_ = new QCheckBox("Payment server offline", this);
  offline_->setObjectName("offline");
  lose_connection_ = new QCheckBox("Lose the connection at the next authorisation", this);
  lose_connection_->setObjectName("loseConnection");
  pace_ = new QSpinBox(this);
  pace_->setObjectName("pace");
  pace_->setRange(0, 3000);
  pace_->setSingleStep(100);
  pace_->setSuffix(" ms a step");
  pin_pad_ = new QLabel(this);
  pin_pad_->setObjectName("pinPad");
  pin_pad_->setMinimumWidth(260);
  pin_pad_->setStyleSheet(
      "background: #10301a; color: #7dff9a; font: bold 14pt monospace;"
      "padding: 6px;");
  problem_ = new QLabel(this);
  problem_->setObjectName("problem");
  problem_->setWordWrap(true);
  form->addRow("PIN pad", pin_pad_);
  form->addRow("Card presented", card_);
  form->addRow("Forced outcome", outcome_);
  form->addRow(offline_);
  form->addRow(lose_connection_);
  form->addRow("Terminal pace", pace_);
  form->addRow(problem_);

  card_->setCurrentIndex(1);
  // Card, pace and server from the file, so the panel starts as the simulator will.
  QFile file(QString::fromStdString(config_file_));
  if (file.open(QIODevice::ReadOnly)) {
    const QJsonObject config = QJsonDocument::fromJson(file.readAll()).object();
    pace_->setValue(config.value("delayMs").toInt());
    offline_->setChecked(!config.value("online").toBool(true));
    const bool waiting = config.value("readerStates").toArray() == QJsonArray{1};
    const QString card = waiting ? "" : config.value("card").toString("visa_chip_pin");
    card_->setCurrentIndex(std::max(0, card_->findData(card)));
  }

  const auto apply = [this] { Apply(); };
  connect(card_, &QComboBox::currentIndexChanged, this, apply);
  connect(offline_, &QCheckBox::toggled, this, apply);
  connect(lose_connection_, &QCheckBox::toggled, this, apply);
  connect(pace_, &QSpinBox::valueChanged, this, apply);
  connect(outcome_, &QComboBox::currentIndexChanged, this, [this, use_amount](int index) {
    const QString amount = outcome_->itemData(index).toString();
    if (!amount.isEmpty()) use_amount(amount);
  });
  // The PIN pad's text changes while the component's window polls the terminal; the till's
  // event loop keeps running meanwhile, so this timer does too.
  auto* poll = new QTimer(this);
  connect(poll, &QTimer::timeout, this, [this] { ShowPinPad(); });
  poll->start(100);
}

bool OperatorPanel::ChooseCard(const QString& name, std::string& error) {
  const int index = card_->findData(name);
  if (index < 0) {
    error = "the simulator has no test card \"" + name.toStdString() + "\"";
    return false;
  }
  card_->setCurrentIndex(index);
  Apply();
  return problem_->text().isEmpty();
}

void OperatorPanel::TenderEnded() {
  lose_connection_->setChecked(false);
  ShowPinPad();
}

void OperatorPanel::ShowPinPad() {
  pin_pad_->setText(QString::fromStdString(addin_.TerminalStatus()));
}

std::string OperatorPanel::Describe() const {
  return "Simulated terminal: card " + card_->currentText().toStdString() + "; PIN pad \"" +
         addin_.TerminalStatus() + "\"" + (offline_->isChecked() ? "; server offline" : "") +
         (problem_->text().isEmpty() ? "" : "; " + problem_->text().toStdString());
}

void OperatorPanel::Apply() {
  std::string error;
  if (!WriteConfiguration(error)) {
    problem_->setText(QString::fromStdString(error));
    return;
  }
  problem_->clear();
  // Before the first connect there is no terminal to hand the card to: the file decides.
  std::string ignored;
  (void)addin_.PresentCard(card_->currentData().toString().toStdString(), ignored);
}

bool OperatorPanel::WriteConfiguration(std::string& error) {
  const QString path = QString::fromStdString(config_file_);
  QFile in(path);
  if (!in.open(QIODevice::ReadOnly)) {
    error = "cannot read the simulator's configuration " + config_file_;
    return false;
  }
  QJsonParseError parse{};
  QJsonObject config = QJsonDocument::fromJson(in.readAll(), &parse).object();
  if (parse.error != QJsonParseError::NoError) {
    error = config_file_ + " is not valid JSON (" + parse.errorString().toStdString() +
            "): the panel leaves it alone";
    return false;
  }
  const QString card = card_->currentData().toString();
  if (card.isEmpty()) {
    config.insert("readerStates", QJsonArray{1});
  } else {
    config.insert("card", card);
    config.remove("readerStates");
  }
  config.insert("online", !offline_->isChecked());
  config.insert("delayMs", pace_->value());
  QJsonArray faults;
  for (const QJsonValue fault : config.value("faults").toArray()) {
    if (fault.toObject().value("errorText").toString() != kLostConnectionText) faults.append(fault);
  }
  if (lose_connection_->isChecked()) {
    faults.append(QJsonObject{{"operation", "Processor.Process"},
                              {"call", 1},
                              {"count", 1},
                              {"result", 1},
                              {"errorCode", 30003},
                              {"errorText", kLostConnectionText}});
  }
  config.insert("faults", faults);
  QSaveFile out(path);
  if (!out.open(QIODevice::WriteOnly) || out.write(QJsonDocument(config).toJson()) < 0 ||
      !out.commit()) {
    error = "cannot write the simulator's configuration " + config_file_;
    return false;
  }
  return true;
}

}  // namespace ccaddin::demo
