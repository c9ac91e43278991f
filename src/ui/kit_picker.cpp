#include "ui/kit_picker.h"

#include <QActionGroup>
#include <QMenu>

namespace quorlen {

KitPicker::KitPicker(const QList<Item>& items, const QColor& tint, QWidget* parent)
    : KitButton(items.value(0).label, {}, Style::Bordered, tint, parent), m_items(items),
      m_value(items.value(0).value) {
    auto* menu = new QMenu(this);
    m_group = new QActionGroup(this);
    for (const Item& item : items) {
        QAction* action = menu->addAction(item.label);
        action->setCheckable(true);
        action->setData(item.value);
        m_group->addAction(action);
        connect(action, &QAction::triggered, this, [this, value = item.value] {
            setValue(value);
            emit valueChosen(value);
        });
    }
    setMenu(menu);
    setValue(m_value);
}

void KitPicker::setValue(int value) {
    for (QAction* action : m_group->actions()) {
        if (action->data().toInt() != value)
            continue;
        action->setChecked(true);
        m_value = value;
        setLabel(action->text(), {});
        return;
    }
}

} // namespace quorlen
