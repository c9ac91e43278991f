#include "ui/integer_stepper.h"

#include "ui/card.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QToolButton>

#include <algorithm>

namespace quorlen {
namespace {

class StepButton : public QToolButton {
public:
    StepButton(const QString& glyph, QWidget* parent) : QToolButton(parent) {
        setText(glyph);
        setFixedSize(26, 24);
        setFocusPolicy(Qt::NoFocus);
        setCursor(Qt::PointingHandCursor);
        setAutoRepeat(true);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const SchemeColors colors = currentColors();
        if (isDown())
            painter.fillRect(rect(), colors.border);
        painter.setFont(uiFont(15, QFont::Medium));
        painter.setPen(isEnabled() ? colors.primaryText : withOpacity(colors.secondaryText, 0.3));
        painter.drawText(rect(), Qt::AlignCenter, text());
    }
};

} // namespace

IntegerStepper::IntegerStepper(int minimum, int maximum, int value, QWidget* parent)
    : QWidget(parent), m_minimum(minimum), m_maximum(std::max(minimum, maximum)),
      m_value(std::clamp(value, m_minimum, m_maximum)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(1, 1, 1, 1);
    row->setSpacing(0);
    m_down = new StepButton(QStringLiteral("\u2212"), this);
    m_up = new StepButton(QStringLiteral("+"), this);
    m_down->setObjectName(QStringLiteral("decrement"));
    m_up->setObjectName(QStringLiteral("increment"));
    row->addWidget(m_down);
    row->addWidget(m_up);
    connect(m_down, &QToolButton::clicked, this, [this] { step(-1); });
    connect(m_up, &QToolButton::clicked, this, [this] { step(1); });
    updateButtons();
}

void IntegerStepper::setRange(int minimum, int maximum) {
    m_minimum = minimum;
    m_maximum = std::max(minimum, maximum);
    m_value = std::clamp(m_value, m_minimum, m_maximum);
    updateButtons();
}

void IntegerStepper::setValue(int value) {
    m_value = std::clamp(value, m_minimum, m_maximum);
    updateButtons();
}

void IntegerStepper::step(int delta) {
    const int next = std::clamp(m_value + delta, m_minimum, m_maximum);
    if (next == m_value)
        return;
    m_value = next;
    updateButtons();
    emit valueChanged(m_value);
}

void IntegerStepper::updateButtons() {
    m_down->setEnabled(m_value > m_minimum);
    m_up->setEnabled(m_value < m_maximum);
}

void IntegerStepper::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintFieldBox(painter, rect(), 6);
    painter.setPen(QPen(currentColors().fieldBorder, 1));
    const double middle = m_up->geometry().left() - 0.5;
    painter.drawLine(QPointF(middle, 5), QPointF(middle, height() - 5));
}

} // namespace quorlen
