#include "ui/premium_input_field.h"

#include "ui/card.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"
#include "ui/outside_click_focus_monitor.h"

#include <QFocusEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QVBoxLayout>

namespace quorlen {
namespace {

class FieldBox : public QWidget {
public:
    FieldBox(const PremiumInputField* field, QWidget* parent) : QWidget(parent), m_field(field) {}

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        paintFieldBox(painter, rect(), 7,
                      m_field->isFocused() ? withOpacity(QuorlenTheme::saffron(), 0.8) : QColor());
    }

private:
    const PremiumInputField* m_field;
};

class SecondaryLabel : public QLabel {
public:
    SecondaryLabel(const QString& text, const QFont& font, QWidget* parent) : QLabel(text, parent) {
        setFont(font);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setFont(font());
        painter.setPen(currentColors().secondaryText);
        painter.drawText(rect(), static_cast<int>(alignment()), text());
    }
};

} // namespace

PremiumInputField::PremiumInputField(const QString& title, const QString& suffix, QWidget* parent)
    : QWidget(parent) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(5);
    column->addWidget(new SecondaryLabel(title, uiFont(11, QFont::Medium), this));

    m_box = new FieldBox(this, this);
    m_box->setFixedWidth(kBoxWidth);
    auto* row = new QHBoxLayout(m_box);
    row->setContentsMargins(10, 5, 10, 5);
    row->setSpacing(4);

    m_edit = new QLineEdit(m_box);
    m_edit->setFrame(false);
    m_edit->setFont(monoFont(24, QFont::DemiBold));
    m_edit->setAttribute(Qt::WA_MacShowFocusRect, false);
    m_edit->setStyleSheet(QStringLiteral("QLineEdit { background: transparent; }"));
    m_edit->installEventFilter(this);
    m_edit->setAccessibleName(title);
    row->addWidget(m_edit, 1);
    if (!suffix.isEmpty())
        row->addWidget(new SecondaryLabel(suffix, uiFont(13, QFont::DemiBold), m_box));
    column->addWidget(m_box);

    connect(m_edit, &QLineEdit::textEdited, this, &PremiumInputField::textEdited);
    connect(m_edit, &QLineEdit::returnPressed, this, [this] {
        emit submitted();
        // What Return committed (as the owner rewrote it) is what a later
        // Escape goes back to.
        m_textAtFocus = m_edit->text();
    });

    new OutsideClickFocusMonitor(
        m_box, [this] { return m_focused; }, [this] { setFocused(false); });
}

QString PremiumInputField::text() const { return m_edit->text(); }

void PremiumInputField::setText(const QString& text) {
    if (text != m_edit->text())
        m_edit->setText(text);
}

void PremiumInputField::setFocused(bool focused) {
    if (focused)
        m_edit->setFocus(Qt::OtherFocusReason);
    else
        m_edit->clearFocus();
    // clearFocus() on a widget in an inactive window sends no FocusOut.
    updateFocus(focused);
}

bool PremiumInputField::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_edit && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape && m_focused) {
        // Escape takes back what was typed since the last commit, then
        // leaves the field; the commit that follows restores the value too.
        if (m_edit->text() != m_textAtFocus) {
            m_edit->setText(m_textAtFocus);
            emit textEdited(m_textAtFocus);
        }
        setFocused(false);
        return true;
    }
    if (watched == m_edit && event->type() == QEvent::FocusIn) {
        updateFocus(true);
    } else if (watched == m_edit && event->type() == QEvent::FocusOut) {
        // Another window or a popup taking the keyboard does not end
        // editing; the field gets its focus back when the window does.
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
            updateFocus(false);
    }
    return QWidget::eventFilter(watched, event);
}

void PremiumInputField::updateFocus(bool focused) {
    if (focused == m_focused)
        return;
    m_focused = focused;
    if (focused)
        m_textAtFocus = m_edit->text();
    m_box->update();
    emit focusChanged(focused);
}

void bindTypedNumber(PremiumInputField* field, QObject* context,
                     std::function<void(const QString&)> edited, std::function<void()> commit) {
    QObject::connect(field, &PremiumInputField::textEdited, context, std::move(edited));
    QObject::connect(field, &PremiumInputField::submitted, context, commit);
    QObject::connect(field, &PremiumInputField::focusChanged, context,
                     [commit = std::move(commit)](bool focused) {
                         if (!focused)
                             commit();
                     });
}

} // namespace quorlen
