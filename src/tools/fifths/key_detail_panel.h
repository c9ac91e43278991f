#pragma once

#include "harmony/key_selection.h"
#include "ui/premium_panel.h"

#include <array>

namespace quorlen {

class ChordTile;
class NoteChip;
class SchemeLabel;

// "Key Details": the selected key's long name and signature, its scale as
// copyable chips, its seven diatonic chords (a click plays and appends the
// chord, a right-click copies it) and its relative, dominant and
// subdominant keys.
class KeyDetailPanel : public PremiumPanel {
    Q_OBJECT
public:
    static constexpr int kWidth = 296;

    KeyDetailPanel(const QColor& accent, QWidget* parent = nullptr);

    void setSelection(harmony::KeySelection selection);

    QString longName() const;
    QString signatureNotes() const;
    ChordTile* chordTile(int degree) const { return m_chords[static_cast<size_t>(degree)]; }

signals:
    void chordTapped(int degree);

private:
    SchemeLabel* m_longName;
    SchemeLabel* m_signature;
    SchemeLabel* m_signatureNotes;
    std::array<NoteChip*, 7> m_scale{};
    std::array<ChordTile*, 7> m_chords{};
    std::array<SchemeLabel*, 3> m_related{};
};

} // namespace quorlen
