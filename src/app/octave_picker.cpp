#include "app/octave_picker.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSpinBox>
#include <QVBoxLayout>

#include <cmath>

namespace quorlen {
namespace {

// The convention of DJ software, shown until another range is chosen.
constexpr int kDefaultLowBpm = 80;
constexpr int kDefaultHighBpm = 160;

QSpinBox* boundBox(const char* name, int minimum, int maximum, QWidget* parent) {
    auto* box = new QSpinBox(parent);
    box->setObjectName(QString::fromLatin1(name));
    box->setRange(minimum, maximum);
    box->setSuffix(QStringLiteral(" BPM"));
    return box;
}

} // namespace

OctavePicker::OctavePicker(const detection::OctaveMode& mode, QWidget* parent) : QWidget(parent) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    m_choice = new QComboBox(this);
    m_choice->setObjectName(QStringLiteral("octavePicker"));
    m_choice->addItems({QStringLiteral("As analysed"), QStringLiteral("Automatic octave"),
                        QStringLiteral("Preferred range")});
    m_choice->setCurrentIndex(static_cast<int>(mode.kind));
    column->addWidget(m_choice);

    auto* range = new QHBoxLayout;
    using detection::OctaveMode;
    m_low = boundBox("octaveLow", static_cast<int>(OctaveMode::kLowestBpm),
                     static_cast<int>(OctaveMode::kHighestLowBpm), this);
    m_high = boundBox("octaveHigh", static_cast<int>(2 * OctaveMode::kLowestBpm),
                      static_cast<int>(OctaveMode::kHighestBpm), this);
    const bool isRange = mode.kind == detection::OctaveKind::range;
    m_low->setValue(isRange ? static_cast<int>(std::lround(mode.lowBpm)) : kDefaultLowBpm);
    m_high->setMinimum(2 * m_low->value());
    m_high->setValue(isRange ? static_cast<int>(std::lround(mode.highBpm)) : kDefaultHighBpm);
    range->addWidget(m_low);
    range->addWidget(new QLabel(QStringLiteral("to"), this));
    range->addWidget(m_high);
    range->addStretch();
    column->addLayout(range);
    m_low->setEnabled(isRange);
    m_high->setEnabled(isRange);

    connect(m_choice, &QComboBox::currentIndexChanged, this, &OctavePicker::changed);
    connect(m_low, &QSpinBox::valueChanged, this, [this](int low) {
        // Raising the lower bound pushes the upper one along.
        m_high->setMinimum(2 * low);
        changed();
    });
    connect(m_high, &QSpinBox::valueChanged, this, &OctavePicker::changed);
}

detection::OctaveMode OctavePicker::mode() const {
    switch (static_cast<detection::OctaveKind>(m_choice->currentIndex())) {
    case detection::OctaveKind::classic:
        return detection::OctaveMode::classic();
    case detection::OctaveKind::automatic:
        return detection::OctaveMode::automatic();
    case detection::OctaveKind::range:
        break;
    }
    return detection::OctaveMode::range(m_low->value(), m_high->value())
        .value_or(detection::OctaveMode::classic());
}

void OctavePicker::changed() {
    const bool isRange = m_choice->currentIndex() == static_cast<int>(detection::OctaveKind::range);
    m_low->setEnabled(isRange);
    m_high->setEnabled(isRange);
    emit modeChanged(mode());
}

} // namespace quorlen
