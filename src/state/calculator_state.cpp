#include "state/calculator_state.h"

namespace quorlen {

CalculatorState::CalculatorState(QObject* parent) : QObject(parent) {}

template <typename T>
void CalculatorState::assign(T& field, const T& value, void (CalculatorState::*fieldSignal)()) {
    if (field == value)
        return;
    field = value;
    emit(this->*fieldSignal)();
    emit changed();
}

void CalculatorState::setBpm(double value) { assign(m_bpm, value, &CalculatorState::bpmChanged); }
void CalculatorState::setBpmText(const QString& value) {
    assign(m_bpmText, value, &CalculatorState::bpmTextChanged);
}
void CalculatorState::setA4(double value) { assign(m_a4, value, &CalculatorState::a4Changed); }
void CalculatorState::setA4Text(const QString& value) {
    assign(m_a4Text, value, &CalculatorState::a4TextChanged);
}
void CalculatorState::setProgression(const std::vector<int>& value) {
    assign(m_progression, value, &CalculatorState::progressionChanged);
}
void CalculatorState::setProgressionPlaying(bool value) {
    assign(m_progressionPlaying, value, &CalculatorState::progressionPlayingChanged);
}
void CalculatorState::setPlayingStep(const std::optional<int>& value) {
    assign(m_playingStep, value, &CalculatorState::playingStepChanged);
}
void CalculatorState::setCustomTotalBars(double value) {
    assign(m_customTotalBars, value, &CalculatorState::customTotalBarsChanged);
}
void CalculatorState::setCustomPreDivision(int value) {
    assign(m_customPreDivision, value, &CalculatorState::customPreDivisionChanged);
}
void CalculatorState::setOvertonePitchClass(int value) {
    assign(m_overtonePitchClass, value, &CalculatorState::overtonePitchClassChanged);
}
void CalculatorState::setOvertoneOctave(int value) {
    assign(m_overtoneOctave, value, &CalculatorState::overtoneOctaveChanged);
}
void CalculatorState::setOvertonesEnabled(const std::set<int>& value) {
    assign(m_overtonesEnabled, value, &CalculatorState::overtonesEnabledChanged);
}
void CalculatorState::setOvertoneStep(const std::optional<int>& value) {
    assign(m_overtoneStep, value, &CalculatorState::overtoneStepChanged);
}
void CalculatorState::setOvertoneSweeping(bool value) {
    assign(m_overtoneSweeping, value, &CalculatorState::overtoneSweepingChanged);
}
void CalculatorState::setEuclidSteps(int value) {
    assign(m_euclidSteps, value, &CalculatorState::euclidStepsChanged);
}
void CalculatorState::setEuclidPulses(int value) {
    assign(m_euclidPulses, value, &CalculatorState::euclidPulsesChanged);
}
void CalculatorState::setEuclidRotation(int value) {
    assign(m_euclidRotation, value, &CalculatorState::euclidRotationChanged);
}
void CalculatorState::setEuclidNote(int value) {
    assign(m_euclidNote, value, &CalculatorState::euclidNoteChanged);
}
void CalculatorState::setEuclidPlaying(bool value) {
    assign(m_euclidPlaying, value, &CalculatorState::euclidPlayingChanged);
}
void CalculatorState::setEuclidStep(const std::optional<int>& value) {
    assign(m_euclidStep, value, &CalculatorState::euclidStepChanged);
}
void CalculatorState::setTetDivisions(int value) {
    assign(m_tetDivisions, value, &CalculatorState::tetDivisionsChanged);
}
void CalculatorState::setTetReference(double value) {
    assign(m_tetReference, value, &CalculatorState::tetReferenceChanged);
}
void CalculatorState::setTetReferenceText(const QString& value) {
    assign(m_tetReferenceText, value, &CalculatorState::tetReferenceTextChanged);
}
void CalculatorState::setTetPlaying(bool value) {
    assign(m_tetPlaying, value, &CalculatorState::tetPlayingChanged);
}
void CalculatorState::setTetStep(const std::optional<int>& value) {
    assign(m_tetStep, value, &CalculatorState::tetStepChanged);
}

} // namespace quorlen
