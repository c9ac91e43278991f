#include "tools/note_frequencies/note_frequency_view.h"

#include "state/calculator_state.h"
#include "text/number_format.h"
#include "tools/note_frequencies/frequency_matrix.h"
#include "tools/note_frequencies/tuning_controls.h"
#include "ui/formula_strip.h"
#include "ui/premium_panel.h"
#include "ui/theme.h"

#include <QVBoxLayout>

namespace quorlen {
namespace {

QString oneDecimal(double value) { return QString::fromStdString(text::format("%.1f", value)); }

} // namespace

NoteFrequencyView::NoteFrequencyView(CalculatorState& state, const QColor& accent, QWidget* parent)
    : ToolScreen(QStringLiteral("Pitch"), QStringLiteral("Note Frequencies"),
                 QStringLiteral("pianokeys"), accent, parent),
      m_state(state) {
    m_controls = new TuningControls(state, accent, this);
    addSection(m_controls);

    auto* matrixPanel = new PremiumPanel(QStringLiteral("Frequency Matrix"),
                                         QStringLiteral("waveform"), accent, this);
    m_matrix = new FrequencyMatrix(accent, matrixPanel);
    matrixPanel->addContent(m_matrix);
    addSection(matrixPanel);

    addSection(new FormulaStrip(QStringLiteral("f = A4 × 2^((n - 69) / 12)   ·   C4 = middle C   "
                                               "·   A4 highlighted   ·   click a value to copy"),
                                this));

    connect(&state, &CalculatorState::a4Changed, this, &NoteFrequencyView::refresh);
    connect(this, &ToolScreen::disappearing, &state, [this] { m_controls->commitText(); });
    refresh();
}

void NoteFrequencyView::refresh() {
    const double a4 = m_state.a4();
    // C4 lies nine semitones below A4: 2^(-9/12) = 0.5946035575013605.
    header()->setMetrics({
        {QStringLiteral("A4"), oneDecimal(a4), accent(), std::nullopt},
        {QStringLiteral("C4"), oneDecimal(a4 * 0.5946035575013605), QuorlenTheme::saffron(),
         std::nullopt},
        {QStringLiteral("A3"), oneDecimal(a4 * 0.5), QuorlenTheme::lacquer(), std::nullopt},
    });
    m_matrix->setA4(a4);
}

} // namespace quorlen
