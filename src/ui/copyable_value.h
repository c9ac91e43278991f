#pragma once

#include <QAbstractButton>
#include <QTimer>

namespace quorlen {

// A value that copies itself: a click puts `copyText` on the clipboard and
// shows the copied state for 0.8 s after the last click. Subclasses draw the
// value and its copied state in paintLabel().
class CopyableValue : public QAbstractButton {
    Q_OBJECT
public:
    static constexpr int kCopiedMs = 800;

    explicit CopyableValue(QWidget* parent = nullptr);

    QString copyText() const { return m_copyText; }
    void setCopyText(const QString& text);
    bool isCopied() const { return m_copied; }

signals:
    void copiedChanged(bool copied);

protected:
    void paintEvent(QPaintEvent* event) override;
    virtual void paintLabel(QPainter& painter, bool copied) = 0;

private:
    void copy();
    void setCopied(bool copied);

    QString m_copyText;
    bool m_copied = false;
    QTimer m_resetTimer;
};

// The plain form: one line of text that reads "Copied" while copied. Its
// colour is a role looked up at every paint, so a scheme switch recolours
// it at once; a figure too long for its cell shrinks before it clips.
class CopyableText : public CopyableValue {
    Q_OBJECT
public:
    enum class Tone { Primary, Muted };

    explicit CopyableText(QWidget* parent = nullptr);
    // A table cell: right-aligned, in `font` and `tone`, "Copied" in `accent`.
    CopyableText(const QFont& font, Tone tone, const QColor& accent, QWidget* parent = nullptr);

    // `display` is shown; `copy` goes to the clipboard (display when empty).
    void setValue(const QString& display, const QString& copy = {});
    QString display() const { return m_display; }
    // "Copied" is drawn in this colour (saffron unless set).
    void setCopiedColor(const QColor& color);
    void setAlignment(Qt::Alignment alignment);

    QSize sizeHint() const override;

protected:
    void paintLabel(QPainter& painter, bool copied) override;

private:
    QString m_display;
    Tone m_tone = Tone::Primary;
    QColor m_copiedColor;
    Qt::Alignment m_alignment = Qt::AlignLeft | Qt::AlignVCenter;
};

} // namespace quorlen
