#pragma once

#include <QWidget>

namespace Terminal {

/// Explains the marks of the time line, in two rows.
class TimeLineLegend : public QWidget {
    Q_OBJECT

public:
    explicit TimeLineLegend(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace Terminal
