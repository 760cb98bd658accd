// The simulated terminal's operator panel, beside the demo till: which test card the
// cardholder presents (or none yet), the PIN pad's text as the component polls it, the
// outcomes the simulator forces by amount, and two faults. A card goes to the terminal at
// once (a window already waiting reads it); the faults and the card also go into the
// simulator's configuration file, which it reads again at the next connect.
#pragma once

#include <QWidget>
#include <functional>
#include <string>

class QCheckBox;
class QComboBox;
class QLabel;
class QSpinBox;

namespace ccaddin::demo {

class Addin;

class OperatorPanel final : public QWidget {
 public:
  // `config_file`: the simulator's configuration (the demo site's config/qlclient.json).
  // `use_amount` puts a forcing amount into the till's amount box.
  OperatorPanel(Addin& addin, std::string config_file,
                std::function<void(const QString&)> use_amount);

  // The card the cardholder presents ("" for none yet); false with the reason for a card
  // the simulator does not know.
  bool ChooseCard(const QString& name, std::string& error);
  // A tender has ended: the one-shot fault is spent.
  void TenderEnded();
  // The panel's line of state, for a run without a screen.
  [[nodiscard]] std::string Describe() const;

 private:
  void ShowPinPad();
  void Apply();
  bool WriteConfiguration(std::string& error);

  Addin& addin_;
  std::string config_file_;
  QComboBox* card_ = nullptr;
  QComboBox* outcome_ = nullptr;
  QCheckBox* offline_ = nullptr;
  QCheckBox* lose_connection_ = nullptr;
  QSpinBox* pace_ = nullptr;
  QLabel* pin_pad_ = nullptr;
  QLabel* problem_ = nullptr;
};

}  // namespace ccaddin::demo
