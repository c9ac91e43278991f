#include "ui/keyboard_button.h"

#include <QAbstractButton>
#include <QKeyEvent>

namespace quorlen {
namespace {

class KeyPresses final : public QObject {
public:
    bool eventFilter(QObject* watched, QEvent* event) override {
        // A focused button keeps Space for itself, ahead of any window
        // shortcut on Space (tap tempo).
        if (event->type() == QEvent::ShortcutOverride) {
            auto* key = static_cast<QKeyEvent*>(event);
            if (key->key() == Qt::Key_Space && key->modifiers() == Qt::NoModifier)
                key->accept();
            return false;
        }
        if (event->type() != QEvent::KeyPress)
            return false;
        const auto* key = static_cast<QKeyEvent*>(event);
        if ((key->key() != Qt::Key_Return && key->key() != Qt::Key_Enter) ||
            key->modifiers() & ~Qt::KeypadModifier)
            return false;
        auto* button = static_cast<QAbstractButton*>(watched);
        if (!button->isEnabled())
            return false;
        button->click();
        return true;
    }
};

} // namespace

void makeKeyboardButton(QAbstractButton* button) {
    static KeyPresses filter;
    button->setFocusPolicy(Qt::TabFocus);
    button->installEventFilter(&filter);
}

} // namespace quorlen
