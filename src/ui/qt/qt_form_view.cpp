#include "ui/qt/qt_form_view.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QTextBrowser>
#include <QTimer>

#include "platform/text_encoding.h"

namespace ccaddin {

namespace {

QString FromCodePage(const std::string& text) {
  return QString::fromStdString(Windows1252ToUtf8(text));
}

// What a screen reader or a desktop test tool calls the control: its caption without
// the mnemonic marker, else its label, else its name.
QString AccessibleName(const Control& c) {
  QString name = FromCodePage(c.Caption());
  name.remove(QRegularExpression("&(?!&)"));
  if (name.isEmpty()) name = FromCodePage(c.Label());
  return name.isEmpty() ? QString::fromStdString(c.FullName()) : name;
}

Qt::Alignment Align(Alignment align) {
  switch (align) {
    case Alignment::Centre:
      return Qt::AlignHCenter | Qt::AlignVCenter;
    case Alignment::Right:
      return Qt::AlignRight | Qt::AlignVCenter;
    case Alignment::Left:
      break;
  }
  return Qt::AlignLeft | Qt::AlignVCenter;
}

QRect Pixels(const Twips& t) {
  const double scale = QtFormView::PixelsPerTwip();
  return QRect(qRound(t.left * scale), qRound(t.top * scale), qRound(t.width * scale),
               qRound(t.height * scale));
}

// A server's HTML, shown but never acted on. Every resource the document names (an
// image, a style sheet) is answered with nothing, whether it lies on the network, on the
// disk or in the data itself: the answer is an empty value rather than none, because the
// document reads local files itself when its view gives no answer. Links are not followed,
// and the view runs no script.
class InertHtmlView final : public QTextBrowser {
 public:
  explicit InertHtmlView(QWidget* parent) : QTextBrowser(parent) {
    setOpenLinks(false);
    setOpenExternalLinks(false);
  }
  QVariant loadResource(int, const QUrl&) override { return QVariant(QByteArray()); }
};

}  // namespace

double QtFormView::PixelsPerTwip() {
  const QScreen* screen = QGuiApplication::primaryScreen();
  const double dpi = screen != nullptr ? screen->logicalDotsPerInch() : 96.0;
  return dpi / kTwipsPerInch;
}

ScreenTwips QtFormView::Screen() {
  const QScreen* screen = QGuiApplication::primaryScreen();
  if (screen == nullptr) return {};
  const QRect area = screen->availableGeometry();
  return {qRound(area.width() / PixelsPerTwip()), qRound(area.height() / PixelsPerTwip())};
}

QtFormView::QtFormView(Form& form, bool run_timers)
    : QWidget(nullptr, Qt::Window | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                           Qt::CustomizeWindowHint),
      form_(form),
      run_timers_(run_timers) {
  setObjectName(QString::fromStdString(form.Name()));
  for (Control& c : form.Controls()) {
    QWidget* parent = c.Container() != nullptr ? widgets_.at(c.Container()) : this;
    if (QWidget* w = Make(c, parent)) {
      widgets_[&c] = w;
      controls_[w] = &c;
      w->setObjectName(QString::fromStdString(c.FullName()));
      w->installEventFilter(this);
    }
  }
  installEventFilter(this);
  ++mirroring_;
  for (const Control& c : form.Controls()) {
    for (Property p : {Property::Geometry, Property::Font, Property::Caption, Property::Text,
                       Property::PasswordChar, Property::BackColour, Property::Picture,
                       Property::Default, Property::Enabled, Property::Visible}) {
      Apply(c, p);
    }
  }
  for (FormProperty p : {FormProperty::Caption, FormProperty::Geometry, FormProperty::TopMost,
                         FormProperty::Focus}) {
    ApplyForm(p);
  }
  --mirroring_;
  form_.AddObserver(this);
}

QtFormView::~QtFormView() {
  form_.RemoveObserver(this);
}

QWidget* QtFormView::Make(Control& c, QWidget* parent) {
  switch (c.Kind()) {
    case ControlKind::Frame:
      return new QGroupBox(parent);
    case ControlKind::Label: {
      auto* label = new QLabel(parent);
      label->setTextFormat(Qt::PlainText);  // server texts are shown, never interpreted
      label->setWordWrap(true);
      return label;
    }
    case ControlKind::Picture: {
      auto* picture = new QLabel(parent);
      picture->setFrameShape(QFrame::Box);
      picture->setAlignment(Qt::AlignCenter);
      return picture;
    }
    case ControlKind::TextBox: {
      auto* box = new QLineEdit(parent);
      box->setContextMenuPolicy(Qt::NoContextMenu);
      box->setDragEnabled(false);
      box->setAcceptDrops(false);
      // Anything that edits the widget without passing the form (an input method, a
      // middle-click paste) is put back: the model holds the text.
      connect(box, &QLineEdit::textEdited, this, [this, &c] {
        if (mirroring_ == 0) Apply(c, Property::Text);
      });
      connect(box, &QLineEdit::cursorPositionChanged, this, [this, &c] { CaretMoved(c); });
      connect(box, &QLineEdit::selectionChanged, this, [this, &c] { CaretMoved(c); });
      return box;
    }
    case ControlKind::Button: {
      auto* button = new QPushButton(parent);
      button->setAutoDefault(false);
      connect(button, &QPushButton::clicked, this, [this, &c] {
        if (mirroring_ == 0) form_.Click(c);
      });
      return button;
    }
    case ControlKind::Browser:
      return new InertHtmlView(parent);
    case ControlKind::Timer: {
      if (run_timers_) {
        auto* timer = new QTimer(this);
        connect(timer, &QTimer::timeout, this, [this, &c] { form_.TimerFired(c); });
        timers_[&c] = timer;
        Apply(c, Property::Enabled);
      }
      return nullptr;
    }
  }
  return nullptr;
}

QWidget* QtFormView::WidgetOf(const Control& control) const {
  const auto it = widgets_.find(&control);
  return it == widgets_.end() ? nullptr : it->second;
}

Control* QtFormView::ControlOf(QObject* object) const {
  const auto it = controls_.find(object);
  return it == controls_.end() ? nullptr : it->second;
}

void QtFormView::ControlChanged(const Control& control, Property property) {
  ++mirroring_;
  Apply(control, property);
  --mirroring_;
}

void QtFormView::FormChanged(FormProperty property) {
  ++mirroring_;
  ApplyForm(property);
  --mirroring_;
  if (property == FormProperty::Stage && form_.CurrentStage() == Form::Stage::Unloaded) {
    hide();
    if (on_unloaded_) on_unloaded_();
  }
}

void QtFormView::Apply(const Control& c, Property property) {
  if (c.Kind() == ControlKind::Timer) {
    const auto it = timers_.find(&c);
    if (it == timers_.end() || (property != Property::Enabled && property != Property::Interval)) {
      return;
    }
    // Either change starts the count again, as it does in the model.
    it->second->stop();
    if (c.Enabled() && c.Interval() > 0) it->second->start(c.Interval());
    return;
  }
  QWidget* w = WidgetOf(c);
  if (w == nullptr) return;
  auto* box = qobject_cast<QLineEdit*>(w);
  auto* label = qobject_cast<QLabel*>(w);
  switch (property) {
    case Property::Visible:
      w->setVisible(c.Visible());
      break;
    case Property::Enabled:
      w->setEnabled(c.Enabled());
      break;
    case Property::Caption:
      if (auto* frame = qobject_cast<QGroupBox*>(w)) frame->setTitle(FromCodePage(c.Caption()));
      if (auto* button = qobject_cast<QPushButton*>(w)) button->setText(FromCodePage(c.Caption()));
      if (label != nullptr && label->pixmap().isNull()) label->setText(FromCodePage(c.Caption()));
      w->setAccessibleName(AccessibleName(c));
      break;
    case Property::Text:
      if (auto* browser = qobject_cast<QTextBrowser*>(w)) browser->setHtml(FromCodePage(c.Text()));
      if (box != nullptr) {
        box->setText(FromCodePage(c.Text()));
        Apply(c, Property::Selection);
      }
      break;
    case Property::Selection:
      if (box == nullptr) break;
      if (c.SelLength() > 0) {
        box->setSelection(c.SelStart(), c.SelLength());
      } else {
        box->setCursorPosition(c.SelStart());
      }
      break;
    case Property::PasswordChar:
      if (box == nullptr) break;
      box->setEchoMode(c.PasswordChar() != 0 ? QLineEdit::Password : QLineEdit::Normal);
      box->setStyleSheet(c.PasswordChar() != 0
                             ? QString("QLineEdit { lineedit-password-character: %1 }")
                                   .arg(int(Windows1252ToCodePoint(uint8_t(c.PasswordChar()))))
                             : QString());
      break;
    case Property::BackColour: {
      if (c.BackColor() == BackColour::Default) break;
      QPalette palette = w->palette();
      const QPalette system = QApplication::palette();
      palette.setColor(QPalette::Base, c.BackColor() == BackColour::Window
                                           ? system.color(QPalette::Base)
                                           : system.color(QPalette::Button));
      w->setPalette(palette);
      break;
    }
    case Property::Geometry:
      w->setGeometry(Pixels(c.Geometry()));
      break;
    case Property::Font: {
      QFont font = this->font();
      if (c.TextFont().points > 0) font.setPointSize(c.TextFont().points);
      font.setBold(c.TextFont().bold);
      w->setFont(font);
      if (box != nullptr) box->setAlignment(Align(c.TextFont().align));
      if (label != nullptr && c.Kind() == ControlKind::Label) {
        label->setAlignment(Align(c.TextFont().align));
      }
      break;
    }
    case Property::Picture:
      if (label != nullptr && c.Kind() == ControlKind::Picture) {
        const QPixmap image(QString::fromStdString(c.Picture()));
        if (image.isNull()) {
          label->setPixmap(QPixmap());
          label->setText(FromCodePage(c.Caption()));
        } else {
          label->setPixmap(image.scaled(w->size(), Qt::KeepAspectRatio, Qt::SmoothTransformation));
        }
      }
      break;
    case Property::Default:
      if (auto* button = qobject_cast<QPushButton*>(w)) button->setDefault(c.IsDefault());
      break;
    case Property::MaxLength:  // the form enforces it; a widget limit would cut text set by code
    case Property::Interval:
    case Property::Cancel:
      break;
  }
}

void QtFormView::ApplyForm(FormProperty property) {
  switch (property) {
    case FormProperty::Caption:
      setWindowTitle(FromCodePage(form_.Caption()));
      break;
    case FormProperty::Geometry: {
      const QRect area = Pixels(form_.Geometry());
      const QScreen* screen = QGuiApplication::primaryScreen();
      const QPoint origin = screen != nullptr ? screen->availableGeometry().topLeft() : QPoint();
      setFixedSize(area.size());
      move(origin + area.topLeft());
      break;
    }
    case FormProperty::TopMost: {
      const bool shown = isVisible();
      const bool active = isActiveWindow();
      setWindowFlag(Qt::WindowStaysOnTopHint, form_.TopMost());
      // Changing the flags takes the window off the screen; it comes back as it was.
      if (shown) show();
      if (active) activateWindow();
      break;
    }
    case FormProperty::Focus: {
      const Control* focused = form_.Focused();
      QWidget* w = focused != nullptr ? WidgetOf(*focused) : nullptr;
      if (w != nullptr && focusWidget() != w) w->setFocus(Qt::OtherFocusReason);
      break;
    }
    case FormProperty::Refresh:
      repaint();
      break;
    case FormProperty::Stage:
      break;
  }
}

void QtFormView::CaretMoved(Control& box) {
  auto* edit = qobject_cast<QLineEdit*>(WidgetOf(box));
  if (mirroring_ > 0 || edit == nullptr) return;
  if (edit->hasSelectedText()) {
    form_.SetSelection(box, edit->selectionStart(), int(edit->selectedText().size()));
  } else {
    form_.SetSelection(box, edit->cursorPosition(), 0);
  }
}

bool QtFormView::eventFilter(QObject* watched, QEvent* event) {
  Control* c = ControlOf(watched);
  switch (event->type()) {
    case QEvent::KeyPress:
      return KeyPressed(c, static_cast<QKeyEvent*>(event));
    case QEvent::FocusIn:
      if (c != nullptr && !c->HasFocus() && !form_.SetFocus(*c)) {
        ApplyForm(FormProperty::Focus);  // the form keeps the focus where it was
      }
      break;
    default:
      break;
  }
  return QWidget::eventFilter(watched, event);
}

// Keys go to the form, which filters them and edits the text; only caret movement is
// left to the widget (and reported back as the caret position).
bool QtFormView::KeyPressed(Control* c, QKeyEvent* event) {
  if (c != nullptr && c->CanFocus() && !c->HasFocus()) form_.SetFocus(*c);
  if (event->matches(QKeySequence::Paste)) {
    Type(QGuiApplication::clipboard()->text());
    return true;
  }
  if (event->matches(QKeySequence::Copy) || event->matches(QKeySequence::SelectAll)) return false;
  switch (event->key()) {
    case Qt::Key_Tab:
      form_.PressKey(kKeyTab);
      return true;
    case Qt::Key_Backtab:
      form_.FocusNext(true);
      return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      form_.PressKey(kKeyEnter);
      return true;
    case Qt::Key_Escape:
      form_.PressKey(kKeyEscape);
      return true;
    case Qt::Key_Backspace:
      form_.PressKey(kKeyBackspace);
      return true;
    case Qt::Key_Delete:
      form_.PressKey(kKeyDelete);
      return true;
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Home:
    case Qt::Key_End:
      return false;
    default:
      break;
  }
  // No shortcut edits a box behind the form's back (undo, cut, delete word).
  if (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return true;
  if (event->text().isEmpty()) return false;
  Type(event->text());
  return true;
}

void QtFormView::Type(const QString& text) {
  for (const QChar ch : text) {
    const int code = CodePointToWindows1252(ch.unicode());
    if (code >= kKeySpace || code == kKeyBackspace) form_.PressKey(static_cast<int16_t>(code));
    if (code < 0) form_.PressKey('?');
  }
}

void QtFormView::closeEvent(QCloseEvent* event) {
  // The form decides: Form_Unload may refuse, and an unloaded form hides the window.
  event->ignore();
  (void)form_.Unload();
}

}  // namespace ccaddin
