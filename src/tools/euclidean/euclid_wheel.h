#pragma once

#include <QColor>
#include <QWidget>

#include <optional>
#include <vector>

namespace quorlen {

// The pattern on a circle: a dot per step (hits in the accent), the
// polygon of the hits, a ring around the step being played, and a badge
// with the pattern's name and step length in the middle. Drawn in a square
// of at most 430 points, centred.
class EuclidWheel : public QWidget {
    Q_OBJECT
public:
    explicit EuclidWheel(const QColor& accent, QWidget* parent = nullptr);

    void setContent(const std::vector<bool>& pattern, std::optional<int> currentStep,
                    const QString& title, const QString& subtitle);

    const std::vector<bool>& pattern() const { return m_pattern; }
    std::optional<int> currentStep() const { return m_currentStep; }
    QString title() const { return m_title; }
    QString subtitle() const { return m_subtitle; }

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_accent;
    std::vector<bool> m_pattern;
    std::optional<int> m_currentStep;
    QString m_title;
    QString m_subtitle;
};

} // namespace quorlen
