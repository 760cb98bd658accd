// The floor for forms_start.py: a bare Qt Widgets program that shows one dialog of 40
// buttons, clicks one as soon as the dialog is up, and exits.
#include <QApplication>
#include <QDialog>
#include <QGridLayout>
#include <QPushButton>
#include <QTimer>

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QDialog dialog;
  auto* grid = new QGridLayout(&dialog);
  QPushButton* last = nullptr;
  for (int i = 0; i < 40; ++i) {
    last = new QPushButton(QString::number(i), &dialog);
    grid->addWidget(last, i / 8, i % 8);
    QObject::connect(last, &QPushButton::clicked, &dialog, &QDialog::accept);
  }
  QTimer::singleShot(0, last, &QPushButton::click);
  return dialog.exec() == QDialog::Accepted ? 0 : 1;
}
