#include "ui/accessible_parts.h"

#include "ui/stepper.h"

#include <QAccessibleWidget>
#include <QWidget>

#include <vector>

namespace quorlen {
namespace {

const QString kPress = QAccessibleActionInterface::pressAction();

class PartAccessible final : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    PartAccessible(QAccessibleInterface* owner, QWidget* widget, AccessibleParts* parts, int part)
        : m_owner(owner), m_widget(widget), m_parts(parts), m_part(part) {}

    bool isValid() const override { return m_widget != nullptr; }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return m_owner->window(); }
    QAccessibleInterface* parent() const override { return m_owner; }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QAccessible::Role role() const override { return QAccessible::RadioButton; }
    QString text(QAccessible::Text t) const override {
        return t == QAccessible::Name ? m_parts->accessiblePartName(m_part) : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override {
        const QRect local = m_parts->accessiblePartRect(m_part);
        return QRect(m_widget->mapToGlobal(local.topLeft()), local.size());
    }
    QAccessible::State state() const override {
        QAccessible::State s;
        s.checkable = true;
        s.checked = m_parts->isAccessiblePartChecked(m_part);
        s.focusable = false;
        s.invisible = !m_widget->isVisible();
        return s;
    }
    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                    : nullptr;
    }
    QStringList actionNames() const override { return {kPress}; }
    void doAction(const QString& name) override {
        if (name == kPress)
            m_parts->pressAccessiblePart(m_part);
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    QAccessibleInterface* m_owner;
    QWidget* m_widget;
    AccessibleParts* m_parts;
    int m_part;
};

class PartsAccessible final : public QAccessibleWidget {
public:
    PartsAccessible(QWidget* widget, AccessibleParts* parts)
        : QAccessibleWidget(widget, QAccessible::PageTabList), m_parts(parts) {}
    ~PartsAccessible() override {
        for (QAccessible::Id id : m_ids)
            QAccessible::deleteAccessibleInterface(id);
    }

    int childCount() const override { return m_parts->accessiblePartCount(); }
    QAccessibleInterface* child(int index) const override {
        if (index < 0 || index >= childCount())
            return nullptr;
        if (m_ids.size() <= static_cast<size_t>(index))
            m_ids.resize(static_cast<size_t>(index) + 1, 0);
        auto& id = m_ids[static_cast<size_t>(index)];
        if (id == 0)
            id = QAccessible::registerAccessibleInterface(
                new PartAccessible(const_cast<PartsAccessible*>(this), widget(), m_parts, index));
        return QAccessible::accessibleInterface(id);
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        for (int i = 0; i < childCount(); ++i) {
            if (this->child(i) == child)
                return i;
        }
        return -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override {
        const QPoint local = widget()->mapFromGlobal(QPoint(x, y));
        for (int i = 0; i < childCount(); ++i) {
            if (m_parts->accessiblePartRect(i).contains(local))
                return child(i);
        }
        return nullptr;
    }

private:
    AccessibleParts* m_parts;
    mutable std::vector<QAccessible::Id> m_ids;
};

// A stepper is a spin button: its value is the owner's number, and it can
// be increased or decreased.
class StepperAccessible final : public QAccessibleWidget {
public:
    explicit StepperAccessible(Stepper* stepper)
        : QAccessibleWidget(stepper, QAccessible::SpinBox) {}

    QString text(QAccessible::Text t) const override {
        if (t == QAccessible::Value)
            return stepper()->valueText();
        return QAccessibleWidget::text(t);
    }
    QStringList actionNames() const override {
        return {QAccessibleActionInterface::increaseAction(),
                QAccessibleActionInterface::decreaseAction()};
    }
    void doAction(const QString& name) override {
        if (name == QAccessibleActionInterface::increaseAction())
            stepper()->stepUp();
        else if (name == QAccessibleActionInterface::decreaseAction())
            stepper()->stepDown();
    }

private:
    Stepper* stepper() const { return static_cast<Stepper*>(widget()); }
};

QAccessibleInterface* kitFactory(const QString&, QObject* object) {
    if (auto* stepper = qobject_cast<Stepper*>(object))
        return new StepperAccessible(stepper);
    auto* widget = qobject_cast<QWidget*>(object);
    if (auto* parts = dynamic_cast<AccessibleParts*>(widget))
        return new PartsAccessible(widget, parts);
    return nullptr;
}

} // namespace

void installKitAccessibility() {
    static const bool installed = [] {
        QAccessible::installFactory(kitFactory);
        return true;
    }();
    Q_UNUSED(installed);
}

void notifyAccessibleValue(QWidget* widget, const QString& value) {
    if (!QAccessible::isActive())
        return;
    QAccessibleValueChangeEvent event(widget, value);
    QAccessible::updateAccessibility(&event);
}

} // namespace quorlen
