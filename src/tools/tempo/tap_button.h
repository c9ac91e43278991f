#pragma once

#include <QAbstractButton>
#include <QWidget>

namespace quorlen {

// The tap-tempo button: the "hand.tap" symbol and "Tap" on an accent-tinted
// rounded fill that deepens while pressed.
class TapButton : public QAbstractButton {
    Q_OBJECT
public:
    explicit TapButton(const QColor& accent, QWidget* parent = nullptr);

    QSize sizeHint() const override { return {92, 38}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_accent;
};

// A small key drawn as a key cap, naming the keyboard key that does the
// same as the control beside it.
class KeyCap : public QWidget {
    Q_OBJECT
public:
    explicit KeyCap(const QString& key, QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_key;
};

} // namespace quorlen
