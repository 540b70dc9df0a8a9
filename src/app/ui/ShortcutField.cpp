#include "app/ui/ShortcutField.h"

#include "l10n/L10n.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>

using namespace Qt::Literals::StringLiterals;

namespace {

// To a screen reader the field is a button: pressing it starts recording, it is pressed while
// it records, and its description is the combination it holds.
class FieldAccessible final : public QAccessibleWidget {
public:
    explicit FieldAccessible(ShortcutField* field)
        : QAccessibleWidget(field, QAccessible::Button)
    {
    }
    QAccessible::State state() const override
    {
        QAccessible::State s = QAccessibleWidget::state();
        s.pressed = static_cast<ShortcutField*>(widget())->recording();
        return s;
    }
};

QAccessibleInterface* fieldInterface(const QString& className, QObject* object)
{
    if (className == u"ShortcutField"_s && object && object->isWidgetType())
        return new FieldAccessible(static_cast<ShortcutField*>(object));
    return nullptr;
}

} // namespace

ShortcutField::ShortcutField(const KeyboardLayout& layout, bool allowsBareKeys, QWidget* parent)
    : QWidget(parent)
    , layout(layout)
    , recorder(allowsBareKeys)
{
    static const bool described = (QAccessible::installFactory(&fieldInterface), true);
    Q_UNUSED(described);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_InputMethodEnabled, false);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void ShortcutField::setShortcut(const Shortcut& shortcut)
{
    if (shortcut == value)
        return;
    value = shortcut;
    setAccessibleDescription(text());
    update();
}

void ShortcutField::startRecording()
{
    recorder.start();
    setFocus(Qt::MouseFocusReason);
    tellPressed();
    update();
}

void ShortcutField::stopRecording()
{
    recorder.stop();
    tellPressed();
    update();
}

// A screen reader hears that the field now listens for keys, or has stopped.
void ShortcutField::tellPressed()
{
    QAccessible::State pressed;
    pressed.pressed = true;
    QAccessibleStateChangeEvent event(this, pressed);
    QAccessible::updateAccessibility(&event);
}

QSize ShortcutField::sizeHint() const
{
    const QFontMetrics metrics(font());
    const int width = std::max(metrics.horizontalAdvance(text()),
                               metrics.horizontalAdvance(L10n::text(u"shortcut.press_keys"_s)));
    return {std::max(150, width + 24), metrics.height() + 10};
}

// While recording, the keys are the field's: a combination the window or a menu would take
// (Ctrl+W, Alt+F) must reach keyPressEvent instead.
bool ShortcutField::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride && recorder.recording()) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

void ShortcutField::keyPressEvent(QKeyEvent* event)
{
    if (!recorder.recording()) {
        if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter
            || event->key() == Qt::Key_Space) {
            startRecording();
            return;
        }
        QWidget::keyPressEvent(event);
        return;
    }
    Shortcut next = value;
    switch (recorder.press(event->key(), Shortcut::pressOf(*event, layout), next)) {
    case ShortcutRecorder::Outcome::Ignored:
        return;
    case ShortcutRecorder::Outcome::Refused:
        QApplication::beep();
        return;
    case ShortcutRecorder::Outcome::Cancelled:
        break;
    case ShortcutRecorder::Outcome::Cleared:
    case ShortcutRecorder::Outcome::Captured:
        setShortcut(next);
        Q_EMIT changed(next);
        break;
    }
    update();
}

void ShortcutField::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        startRecording();
}

void ShortcutField::focusOutEvent(QFocusEvent* event)
{
    stopRecording();
    QWidget::focusOutEvent(event);
}

QString ShortcutField::text() const
{
    return recorder.recording() ? L10n::text(u"shortcut.press_keys"_s) : value.display(layout);
}

void ShortcutField::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath path;
    path.addRoundedRect(box, 6, 6);
    const QPalette& p = palette();
    painter.fillPath(path, recorder.recording() ? p.color(QPalette::Highlight).lighter(185)
                                                : p.color(QPalette::Base));
    painter.setPen(QPen(hasFocus() ? p.color(QPalette::Highlight) : p.color(QPalette::Mid), 1));
    painter.drawPath(path);
    painter.setPen(recorder.recording() ? p.color(QPalette::PlaceholderText)
                                        : p.color(QPalette::Text));
    painter.drawText(box, Qt::AlignCenter, text());
}
