#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

#include <functional>

namespace quorlen {

// Ends editing when the user clicks or scrolls anywhere outside a field's
// box in the same window, so typed text commits without Return. It watches
// the whole application but only acts while `isFocused` answers true; the
// event always goes on to do what it would do anyway.
class OutsideClickFocusMonitor : public QObject {
    Q_OBJECT
public:
    // Installs itself as an application event filter for as long as `view`
    // (its parent) lives.
    OutsideClickFocusMonitor(QWidget* view, std::function<bool()> isFocused,
                             std::function<void()> dismiss);
    ~OutsideClickFocusMonitor() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QPointer<QWidget> m_view;
    std::function<bool()> m_isFocused;
    std::function<void()> m_dismiss;
};

} // namespace quorlen
