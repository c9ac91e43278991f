#pragma once

#include <QAccessible>
#include <QRect>
#include <QString>

class QWidget;

namespace quorlen {

// A painted control made of parts a person picks one at a time (segments of
// a picker, keys on a wheel). Implementing this gives the widget an
// accessible child per part, so a screen reader can name, locate and press
// each one.
class AccessibleParts {
public:
    virtual ~AccessibleParts() = default;
    virtual int accessiblePartCount() const = 0;
    virtual QString accessiblePartName(int part) const = 0;
    // In the widget's own coordinates.
    virtual QRect accessiblePartRect(int part) const = 0;
    virtual bool isAccessiblePartChecked(int part) const = 0;
    virtual void pressAccessiblePart(int part) = 0;
};

// Makes the kit's accessible interfaces (steppers with their values and
// actions, painted parts) known to Qt. Idempotent; widgets that need it
// call it as they are built.
void installKitAccessibility();

// Tells an assistive technology that `widget`'s value text changed.
void notifyAccessibleValue(QWidget* widget, const QString& value);

} // namespace quorlen
