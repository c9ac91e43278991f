#pragma once

#include <QWidget>

class QLineEdit;

namespace quorlen {

// The kit's typed-number field: a title over a rounded box holding a large
// monospaced line edit and an optional unit. The owner commits the text when
// the user presses Return (`submitted`) or editing ends (`focusChanged`
// false), which includes a click anywhere outside the box. Escape puts back
// the text the field had when editing began and ends editing.
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
    QString m_textAtFocus;
};

} // namespace quorlen
