#pragma once

#include <QWidget>

namespace quorlen {

// A tool's formula or a short summary in small secondary text on a soft
// rounded strip; the text wraps over as many lines as it needs.
class FormulaStrip : public QWidget {
    Q_OBJECT
public:
    explicit FormulaStrip(const QString& text = {}, QWidget* parent = nullptr);

    QString text() const { return m_text; }
    void setText(const QString& text);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    static constexpr int kPaddingX = 10;
    static constexpr int kPaddingY = 7;
    QRect textRect(int width) const;

    QString m_text;
};

} // namespace quorlen
