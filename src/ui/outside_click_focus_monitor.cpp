#include "ui/outside_click_focus_monitor.h"

#include <QCoreApplication>
#include <QMouseEvent>
#include <QWheelEvent>

#include <optional>

namespace quorlen {
namespace {

// The pointer position of the presses and scrolls that end editing.
std::optional<QPointF> outsideClickPosition(QEvent* event) {
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        return static_cast<QMouseEvent*>(event)->globalPosition();
    case QEvent::Wheel:
        return static_cast<QWheelEvent*>(event)->globalPosition();
    default:
        return std::nullopt;
    }
}

} // namespace

OutsideClickFocusMonitor::OutsideClickFocusMonitor(QWidget* view, std::function<bool()> isFocused,
                                                   std::function<void()> dismiss)
    : QObject(view), m_view(view), m_isFocused(std::move(isFocused)),
      m_dismiss(std::move(dismiss)) {
    QCoreApplication::instance()->installEventFilter(this);
}

OutsideClickFocusMonitor::~OutsideClickFocusMonitor() {
    if (QCoreApplication* app = QCoreApplication::instance())
        app->removeEventFilter(this);
}

bool OutsideClickFocusMonitor::eventFilter(QObject* watched, QEvent* event) {
    const auto position = outsideClickPosition(event);
    // Widgets only: each press also passes the window object first, and the
    // widget it reaches is what tells which window was clicked.
    if (!position || !watched->isWidgetType() || !m_isFocused())
        return false;
    if (!m_view || !m_view->isVisible())
        return false;
    if (static_cast<QWidget*>(watched)->window() != m_view->window())
        return false;
    const QPoint local = m_view->mapFromGlobal(position->toPoint());
    if (!m_view->rect().contains(local))
        m_dismiss();
    return false;
}

} // namespace quorlen
