#include "app/content_view.h"

#include "app/sidebar.h"
#include "app/tool_view_factory.h"
#include "tempo_detection/tempo_detect_model.h"
#include "text/sidebar_summary.h"
#include "ui/color_scheme.h"
#include "ui/premium_backdrop.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QShowEvent>

namespace quorlen {
namespace {

class Divider : public QWidget {
public:
    explicit Divider(QWidget* parent) : QWidget(parent) { setFixedWidth(1); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), currentColors().border);
    }
};

} // namespace

ContentView::ContentView(const QString& restoredToolID, QWidget* parent)
    : QWidget(parent), m_selectedToolID(restoredToolID) {
    setObjectName(QStringLiteral("contentView"));
    setMinimumSize(kMinimumSize);

    m_backdrop = new PremiumBackdrop(this);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    m_sidebar = new Sidebar(this);
    row->addWidget(m_sidebar);
    row->addWidget(new Divider(this));

    m_detail = new QScrollArea(this);
    m_detail->setObjectName(QStringLiteral("detailArea"));
    // Tab goes to the controls inside, which scroll into view as they take
    // focus; the area itself would be a stop with nothing to show.
    m_detail->setFocusPolicy(Qt::NoFocus);
    m_detail->setFrameShape(QFrame::NoFrame);
    m_detail->setWidgetResizable(true);
    m_detail->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_detail->setStyleSheet(QStringLiteral("QScrollArea, QScrollArea > QWidget > QWidget "
                                           "{ background: transparent; }"));
    row->addWidget(m_detail, 1);
    m_backdrop->lower();

    styleScrollBar();
    connect(&ColorSchemeHub::instance(), &ColorSchemeHub::schemeChanged, this,
            &ContentView::styleScrollBar);
    connect(m_sidebar, &Sidebar::toolClicked, this, &ContentView::selectTool);
    connect(m_sidebar, &Sidebar::toolChosen, this, &ContentView::showTool);
    connect(&m_state, &CalculatorState::bpmChanged, this, &ContentView::updateSummary);
    connect(&m_state, &CalculatorState::a4Changed, this, &ContentView::updateSummary);
    updateSummary();
    showSelectedTool();
}

// Child widgets outlive the members; the tool screen, which holds the
// state by reference and may commit a focused field as it goes, must go
// while the state still exists.
ContentView::~ContentView() { delete m_detail->takeWidget(); }

TempoDetectModel& ContentView::detection() {
    if (!m_detection) {
        m_detection = std::make_unique<TempoDetectModel>();
        m_detection->setOctaveMode(m_octave.mode());
        connect(&m_octave, &OctaveSetting::modeChanged, m_detection.get(),
                [this] { m_detection->setOctaveMode(m_octave.mode()); });
    }
    return *m_detection;
}

CalculatorTool ContentView::shownTool() const {
    return toolFromRawValue(m_selectedToolID).value_or(CalculatorTool::bpm);
}

void ContentView::showTool(CalculatorTool tool) {
    const QString rawValue = QString::fromLatin1(toolInfo(tool).rawValue);
    if (rawValue == m_selectedToolID)
        return;
    m_selectedToolID = rawValue;
    showSelectedTool();
    emit selectedToolChanged(rawValue);
}

void ContentView::focusTool() {
    if (m_toolView)
        m_toolView->setFocus(Qt::ShortcutFocusReason);
}

void ContentView::selectTool(CalculatorTool tool) {
    showTool(tool);
    emit toolRowClicked(tool);
}

void ContentView::showSelectedTool() {
    const CalculatorTool tool = shownTool();
    m_sidebar->setSelectedTool(tool);
    // A fresh screen each time: tool screens keep their own transient state
    // (taps, running players) only while they are shown.
    if (QWidget* old = m_detail->takeWidget())
        old->deleteLater();
    m_toolView =
        createToolView(tool, m_state, [this]() -> TempoDetectModel& { return detection(); });
    m_detail->setWidget(m_toolView);
}

// A thin, scheme-coloured handle on a clear track: the platform's own bar
// would stay light on the dark backdrop.
void ContentView::styleScrollBar() {
    const QColor handle = withOpacity(currentColors().primaryText, 0.28);
    m_detail->verticalScrollBar()->setStyleSheet(
        QStringLiteral("QScrollBar:vertical { background: transparent; width: 10px; margin: 2px; }"
                       "QScrollBar::handle:vertical { background: %1; border-radius: 3px;"
                       " min-height: 40px; }"
                       "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical"
                       " { height: 0; }"
                       "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical"
                       " { background: none; }")
            .arg(handle.name(QColor::HexArgb)));
}

void ContentView::updateSummary() {
    m_sidebar->setSummary(
        QString::fromStdString(text::sidebarSummary(m_state.a4(), m_state.bpm())));
}

void ContentView::showEvent(QShowEvent* event) {
    // Restoring a minimised window is no new appearance.
    if (!event->spontaneous())
        emit appeared();
    QWidget::showEvent(event);
}

void ContentView::resizeEvent(QResizeEvent* event) {
    m_backdrop->setGeometry(rect());
    QWidget::resizeEvent(event);
}

} // namespace quorlen
