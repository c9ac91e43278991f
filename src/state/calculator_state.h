#pragma once

#include <QObject>
#include <QString>

#include <optional>
#include <set>
#include <vector>

namespace quorlen {

// Every tool's inputs and the play positions of the sequenced tools, one
// instance per main window, shared by all its tool screens. Main thread only.
//
// Contract: a setter that changes its field emits that field's signal and
// then changed(), after the new value is readable; a setter given the value
// the field already holds emits nothing. Nothing here is saved: a new window
// starts from the initial values below. Ranges and parsing rules belong to
// the tool that owns each field.
class CalculatorState : public QObject {
    Q_OBJECT
public:
    explicit CalculatorState(QObject* parent = nullptr);

    // Tempo in beats per minute; drives every tempo-derived tool.
    double bpm() const { return m_bpm; }
    void setBpm(double value);
    // Text of the tempo field.
    const QString& bpmText() const { return m_bpmText; }
    void setBpmText(const QString& value);
    // Reference pitch of A4 in Hz; drives every pitch tool.
    double a4() const { return m_a4; }
    void setA4(double value);
    // Text of the A4 field.
    const QString& a4Text() const { return m_a4Text; }
    void setA4Text(const QString& value);
    // Chord progression as scale-degree indices, in order of play.
    const std::vector<int>& progression() const { return m_progression; }
    void setProgression(const std::vector<int>& value);
    // The progression player is running.
    bool progressionPlaying() const { return m_progressionPlaying; }
    void setProgressionPlaying(bool value);
    // Index into progression of the chord now sounding.
    const std::optional<int>& playingStep() const { return m_playingStep; }
    void setPlayingStep(const std::optional<int>& value);
    // Length of the custom reverb in bars.
    double customTotalBars() const { return m_customTotalBars; }
    void setCustomTotalBars(double value);
    // Custom reverb pre-delay as a note division (64 = a 1/64 note).
    int customPreDivision() const { return m_customPreDivision; }
    void setCustomPreDivision(int value);
    // Pitch class of the harmonic fundamental, semitones above C (9 = A).
    int overtonePitchClass() const { return m_overtonePitchClass; }
    void setOvertonePitchClass(int value);
    // Octave of the fundamental (scientific pitch notation).
    int overtoneOctave() const { return m_overtoneOctave; }
    void setOvertoneOctave(int value);
    // Harmonic numbers that sound and are highlighted.
    const std::set<int>& overtonesEnabled() const { return m_overtonesEnabled; }
    void setOvertonesEnabled(const std::set<int>& value);
    // Harmonic number now sounding during a sweep.
    const std::optional<int>& overtoneStep() const { return m_overtoneStep; }
    void setOvertoneStep(const std::optional<int>& value);
    // The harmonic sweep is running.
    bool overtoneSweeping() const { return m_overtoneSweeping; }
    void setOvertoneSweeping(bool value);
    // Steps n of the Euclidean pattern.
    int euclidSteps() const { return m_euclidSteps; }
    void setEuclidSteps(int value);
    // Pulses k of the Euclidean pattern.
    int euclidPulses() const { return m_euclidPulses; }
    void setEuclidPulses(int value);
    // Rotation of the pattern in steps.
    int euclidRotation() const { return m_euclidRotation; }
    void setEuclidRotation(int value);
    // Step length as a note division (16 = a sixteenth).
    int euclidNote() const { return m_euclidNote; }
    void setEuclidNote(int value);
    // The Euclidean player is running.
    bool euclidPlaying() const { return m_euclidPlaying; }
    void setEuclidPlaying(bool value);
    // Step index now sounding.
    const std::optional<int>& euclidStep() const { return m_euclidStep; }
    void setEuclidStep(const std::optional<int>& value);
    // Equal divisions of the octave.
    int tetDivisions() const { return m_tetDivisions; }
    void setTetDivisions(int value);
    // Frequency of step 0 of the temperament, in Hz.
    double tetReference() const { return m_tetReference; }
    void setTetReference(double value);
    // Text of the reference-frequency field.
    const QString& tetReferenceText() const { return m_tetReferenceText; }
    void setTetReferenceText(const QString& value);
    // The scale player is running.
    bool tetPlaying() const { return m_tetPlaying; }
    void setTetPlaying(bool value);
    // Step index now sounding.
    const std::optional<int>& tetStep() const { return m_tetStep; }
    void setTetStep(const std::optional<int>& value);

signals:
    // Any field changed.
    void changed();
    void bpmChanged();
    void bpmTextChanged();
    void a4Changed();
    void a4TextChanged();
    void progressionChanged();
    void progressionPlayingChanged();
    void playingStepChanged();
    void customTotalBarsChanged();
    void customPreDivisionChanged();
    void overtonePitchClassChanged();
    void overtoneOctaveChanged();
    void overtonesEnabledChanged();
    void overtoneStepChanged();
    void overtoneSweepingChanged();
    void euclidStepsChanged();
    void euclidPulsesChanged();
    void euclidRotationChanged();
    void euclidNoteChanged();
    void euclidPlayingChanged();
    void euclidStepChanged();
    void tetDivisionsChanged();
    void tetReferenceChanged();
    void tetReferenceTextChanged();
    void tetPlayingChanged();
    void tetStepChanged();

private:
    template <typename T>
    void assign(T& field, const T& value, void (CalculatorState::*fieldSignal)());

    double m_bpm = 120.0;
    QString m_bpmText = QStringLiteral("120");
    double m_a4 = 440.0;
    QString m_a4Text = QStringLiteral("440");
    std::vector<int> m_progression;
    bool m_progressionPlaying = false;
    std::optional<int> m_playingStep;
    double m_customTotalBars = 1.0;
    int m_customPreDivision = 64;
    int m_overtonePitchClass = 9;
    int m_overtoneOctave = 1;
    std::set<int> m_overtonesEnabled = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    std::optional<int> m_overtoneStep;
    bool m_overtoneSweeping = false;
    int m_euclidSteps = 8;
    int m_euclidPulses = 3;
    int m_euclidRotation = 0;
    int m_euclidNote = 16;
    bool m_euclidPlaying = false;
    std::optional<int> m_euclidStep;
    int m_tetDivisions = 12;
    double m_tetReference = 440.0;
    QString m_tetReferenceText = QStringLiteral("440");
    bool m_tetPlaying = false;
    std::optional<int> m_tetStep;
};

} // namespace quorlen
