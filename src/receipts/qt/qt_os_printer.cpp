#include "receipts/qt/qt_os_printer.h"

#include <QFont>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>
#include <array>
#include <cstdlib>
#include <optional>

#include "platform/trap.h"

namespace ccaddin {
namespace {

// Windows-1252 0x80-0x9F; the rest of the code page is Latin-1.
constexpr std::array<char16_t, 32> kCp1252High = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178,
};

QString FromWindows1252(std::string_view text) {
  QString out;
  out.reserve(static_cast<qsizetype>(text.size()));
  for (const char ch : text) {
    const auto c = static_cast<uint8_t>(ch);
    out += (c >= 0x80 && c < 0xA0) ? QChar(kCp1252High[c - 0x80]) : QChar(c);
  }
  return out;
}

std::string ToStd(const QString& text) {
  return text.toStdString();
}

// Printing needs fonts, and Qt's fonts need a GUI application. A till that is not a
// Qt program gets one here; without a display it renders off screen, which is all
// printing needs.
void EnsureGuiApplication() {
  if (QCoreApplication::instance() != nullptr) {
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) == nullptr) {
      throw Failure("Printing needs a QGuiApplication, and this program runs a QCoreApplication");
    }
    return;
  }
  if (std::getenv("QT_QPA_PLATFORM") == nullptr && std::getenv("DISPLAY") == nullptr &&
      std::getenv("WAYLAND_DISPLAY") == nullptr) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  static int argc = 1;
  static char name[] = "ccaddin";
  static char* argv[] = {name, nullptr};
  // Lives as long as the process: other Qt objects of the till's may come to rely on it.
  static auto* app = new QGuiApplication(argc, argv);
  (void)app;
}

QFont DefaultFont() {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPointSize(10);
  return font;
}

class QtOsPrinter : public OsPrinter {
 public:
  explicit QtOsPrinter(QtOsPrinterOptions options) : options_(std::move(options)) {}

  bool SelectPrinter(const std::string& strPrinterName, const OsPrinterFont& font) override {
    return Trap(error_message_, "", false, [&] {
      EnsureGuiApplication();
      bool named = false;
      if (!options_.pdf_file.empty()) {
        printer_.emplace(QPrinter::HighResolution);
        printer_->setOutputFormat(QPrinter::PdfFormat);
        printer_->setOutputFileName(QString::fromStdString(options_.pdf_file));
        selected_ = options_.pdf_printer_name;
        named = strPrinterName == options_.pdf_printer_name;
      } else {
        std::optional<QPrinterInfo> chosen;
        for (const QPrinterInfo& info : QPrinterInfo::availablePrinters()) {
          if (ToStd(info.printerName()) == strPrinterName) {
            chosen = info;
            named = true;
            break;
          }
        }
        if (!chosen) {
          const QPrinterInfo fallback = QPrinterInfo::defaultPrinter();
          if (fallback.isNull()) throw Failure("No printer available");
          chosen = fallback;
        }
        printer_.emplace(*chosen, QPrinter::HighResolution);
        selected_ = ToStd(chosen->printerName());
      }
      font_ = DefaultFont();
      if (named) {
        // A family the system lacks falls back to another fixed-pitch one, not to a
        // proportional font that would break the receipt's columns.
        font_->setStyleHint(QFont::TypeWriter);
        font_->setFixedPitch(true);
        if (!font.strName.empty()) font_->setFamily(FromWindows1252(font.strName));
        if (font.lSize > 0) font_->setPointSize(font.lSize);
        font_->setBold(font.bBold);
        font_->setItalic(false);
      }
      return true;
    });
  }

  bool PrintText(const std::string& strText) override {
    return Trap(error_message_, "", false, [&] {
      if (!printer_) throw Failure("No printer selected");
      QPainter painter;
      if (!painter.begin(&*printer_)) {
        throw Failure("Printer " + selected_ + " cannot start a document");
      }
      painter.setFont(*font_);
      const QFontMetrics metrics(*font_, &*printer_);
      const int line_height = metrics.lineSpacing();
      const int page_height =
          printer_->pageLayout().paintRectPixels(printer_->resolution()).height();
      int y = 0;
      const auto print_line = [&](std::string_view line) {
        if (y > 0 && y + line_height > page_height) {
          if (!printer_->newPage()) throw Failure("Printer " + selected_ + " cannot start a page");
          y = 0;
        }
        painter.drawText(0, y + metrics.ascent(), FromWindows1252(line));
        y += line_height;
      };
      size_t start = 0;
      for (size_t i = 0; i < strText.size(); ++i) {
        if (strText[i] != '\r' && strText[i] != '\n') continue;
        print_line(std::string_view(strText).substr(start, i - start));
        if (strText[i] == '\r' && i + 1 < strText.size() && strText[i + 1] == '\n') ++i;
        start = i + 1;
      }
      if (start < strText.size()) print_line(std::string_view(strText).substr(start));
      if (!painter.end()) throw Failure("Printer " + selected_ + " did not take the document");
      return true;
    });
  }

  std::string SelectedPrinterName() const override { return selected_; }
  const std::string& strErrorMessage() const override { return error_message_; }

 private:
  QtOsPrinterOptions options_;
  std::optional<QPrinter> printer_;
  std::optional<QFont> font_;
  std::string selected_;
  std::string error_message_;
};

}  // namespace

std::unique_ptr<OsPrinter> MakeQtOsPrinter(QtOsPrinterOptions options) {
  return std::make_unique<QtOsPrinter>(std::move(options));
}

void InstallQtOsPrinter(QtOsPrinterOptions options) {
  InstallOsPrinterFactory([options] { return MakeQtOsPrinter(options); });
}

}  // namespace ccaddin
