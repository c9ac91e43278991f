#pragma once

#include <QWidget>

#include <functional>

class QLineEdit;

namespace quorlen {

// The kit's typed-number field: a title over a rounded box holding a large
// monospaced line edit and an optional unit. The owner commits the text when
// the user presses Return (`submitted`) or editing ends (`focusChanged`
// false), which includes a click anywhere outside the box. Escape puts back
// the last committed text (as of Return, or of the start of editing) and
// ends editing.
class PremiumInputField : public QWidget {
    Q_OBJECT
public:
    static constexpr int kBoxWidth = 132;

    PremiumInputField(const QString& title, const QString& suffix = {}, QWidget* parent = nullptr);

    QString text() const;
    // Rewrites the text without emitting textEdited.
    void setText(const QString& text);

    bool isFocused() const { return m_focused; }
    // false ends editing (and so commits); true starts it.
    void setFocused(bool focused);

    QLineEdit* lineEdit() const { return m_edit; }
    QWidget* box() const { return m_box; }

signals:
    void textEdited(const QString& text);
    void submitted();
    void focusChanged(bool focused);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void updateFocus(bool focused);

    QWidget* m_box;
    QLineEdit* m_edit;
    bool m_focused = false;
    QString m_textAtFocus; // the last committed text: Escape returns to it
};

// Ties a field to the typed number it edits: each edit goes to `edited`
// (the number's text twin), Return and the end of editing to `commit`. The
// connections end with `context`, the object owning the number, which a
// closing window may destroy before its fields lose focus.
void bindTypedNumber(PremiumInputField* field, QObject* context,
                     std::function<void(const QString&)> edited, std::function<void()> commit);

} // namespace quorlen
