#pragma once

#include <QWidget>

namespace Terminal {

/// Explains the signs of the time line. It covers a part of the plot while somebody wants to read it.
class TimeLineLegend : public QWidget {
    Q_OBJECT

public:
    explicit TimeLineLegend(QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int columnWidth() const;
    int lineHeight() const;
};

} // namespace Terminal
