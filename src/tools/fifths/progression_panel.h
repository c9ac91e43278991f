#pragma once

#include "harmony/key_selection.h"
#include "ui/premium_panel.h"

#include <QList>

#include <array>
#include <optional>
#include <vector>

class QHBoxLayout;
class QMenu;
class QScrollArea;

namespace quorlen {

class ChordTile;
class KitButton;
class SchemeLabel;

// "Progression Player": the seven degrees of the selected key to add, the
// loop as removable chips with the sounding one lit, the tempo, presets,
// Clear and Play/Stop. It shows what it is given and reports clicks; the
// screen owns the loop and its timer.
class ProgressionPanel : public PremiumPanel {
    Q_OBJECT
public:
    ProgressionPanel(const QColor& accent, QWidget* parent = nullptr);

    // The key names the degrees, the chips and the presets.
    void setSelection(harmony::KeySelection selection);
    void setProgression(const std::vector<int>& degrees, std::optional<int> playingStep,
                        bool playing);
    void setBpm(double bpm);

    ChordTile* degreeButton(int degree) const { return m_degrees[static_cast<size_t>(degree)]; }
    QList<ChordTile*> chips() const { return m_chips; }
    QString tempoNote() const;
    KitButton* presetsButton() const { return m_presets; }
    KitButton* clearButton() const { return m_clear; }
    KitButton* playButton() const { return m_play; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    void degreeTapped(int degree);
    void stepRemoved(int step);
    void presetChosen(const std::vector<int>& degrees);
    void toggleRequested();
    void clearRequested();

private:
    void rebuildChips();
    void rebuildPresets();

    QColor m_accent;
    harmony::KeySelection m_selection;
    std::vector<int> m_progression;
    std::optional<int> m_playingStep;
    std::array<ChordTile*, 7> m_degrees{};
    SchemeLabel* m_empty;
    QScrollArea* m_chipScroller;
    QWidget* m_chipRow;
    QHBoxLayout* m_chipLayout;
    QList<ChordTile*> m_chips;
    SchemeLabel* m_tempoNote;
    KitButton* m_presets;
    QMenu* m_presetMenu;
    KitButton* m_clear;
    KitButton* m_play;
};

} // namespace quorlen
