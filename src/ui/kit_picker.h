#pragma once

#include "ui/kit_button.h"

#include <QList>

class QActionGroup;

namespace quorlen {

// A pop-up choice among labelled integer values, in the kit's button look:
// it shows the chosen label and opens a menu of all of them.
class KitPicker : public KitButton {
    Q_OBJECT
public:
    struct Item {
        QString label;
        int value;
    };

    KitPicker(const QList<Item>& items, const QColor& tint, QWidget* parent = nullptr);

    int value() const { return m_value; }
    // Shows `value` without emitting valueChosen; unknown values are ignored.
    void setValue(int value);

signals:
    // The user picked an entry (also the one already chosen).
    void valueChosen(int value);

private:
    QList<Item> m_items;
    QActionGroup* m_group;
    int m_value;
};

} // namespace quorlen
