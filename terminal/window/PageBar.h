#pragma once

#include "terminal/window/Page.h"

#include <QVector>
#include <QWidget>

class QLabel;

namespace Terminal {

class ScreenButton;

/// One button per page, between the names of the keys that turn the pages.
class PageBar : public QWidget {
    Q_OBJECT

public:
    explicit PageBar(QWidget* parent = nullptr);

    /// Sets which pages exist now.
    void setPages(const QVector<Page>& pages);
    QVector<Page> pages() const;

    void setShownPage(Page page);

    ScreenButton& button(Page page) const;

signals:
    void chosen(Page page);

private:
    ScreenButton* buttons[pageCount] = {};
    QVector<Page> currentPages;
};

} // namespace Terminal
