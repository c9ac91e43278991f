#pragma once

#include "tools/common/tool_screen.h"

#include <vector>

namespace quorlen {

class CalculatorState;
class Synthesiser;
class EuclidControls;
class EuclidPlayback;
class EuclidWheel;

// The rhythm tool: k hits spread over n steps, rotated, drawn on a wheel
// and played as a click track at the shared tempo. It reads and writes the
// euclid* fields of the state and reads bpm; playback stops when the
// screen is hidden or destroyed, which is what leaving the tool does.
class EuclideanRhythmView : public ToolScreen {
    Q_OBJECT
public:
    EuclideanRhythmView(CalculatorState& state, const QColor& accent, Synthesiser& synthesiser,
                        QWidget* parent = nullptr);
    ~EuclideanRhythmView() override;

    // rhythm::Euclid::pattern of the state's pulses, steps and rotation.
    std::vector<bool> pattern() const;
    // One step in ms at the state's tempo and note value.
    double stepMilliseconds() const;

    EuclidPlayback& playback() const { return *m_playback; }

protected:
    void hideEvent(QHideEvent* event) override;

private:
    void refresh();
    void keepInputsConsistent();
    void restartIfPlaying();

    CalculatorState& m_state;
    EuclidPlayback* m_playback;
    EuclidWheel* m_wheel;
    EuclidControls* m_controls;
};

} // namespace quorlen
