#include "terminal/window/PageBar.h"

#include "terminal/window/ScreenButton.h"
#include "terminal/window/Theme.h"

#include <QHBoxLayout>
#include <QLabel>

namespace Terminal {

namespace {

const char* const labels[pageCount] = {"Events", "Time line", "Encoder", "Keypad", "Actions", "Settings\tF12"};

QLabel* makeKeyName(const QString& text) {
    auto* label = new QLabel(text);
    label->setFont(Theme::font(12));
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, Theme::quietText());
    label->setPalette(palette);
    return label;
}

} // namespace

PageBar::PageBar(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    row->addWidget(makeKeyName(QStringLiteral("F10 \u25c2")));
    for (int page = 0; page < pageCount; ++page) {
        auto* button = buttons[page] = new ScreenButton(QString::fromLatin1(labels[page]));
        button->setCheckable(true);
        row->addWidget(button);
        connect(button, &QAbstractButton::clicked, this, [this, page] { emit chosen(static_cast<Page>(page)); });
    }
    row->addWidget(makeKeyName(QStringLiteral("\u25b8 F11")));
}

void PageBar::setPages(const QVector<Page>& pages) {
    currentPages = pages;
    for (int page = 0; page < pageCount; ++page)
        buttons[page]->setVisible(pages.contains(static_cast<Page>(page)));
}

QVector<Page> PageBar::pages() const {
    return currentPages;
}

void PageBar::setShownPage(Page page) {
    for (int other = 0; other < pageCount; ++other)
        buttons[other]->setChecked(static_cast<Page>(other) == page);
}

ScreenButton& PageBar::button(Page page) const {
    return *buttons[static_cast<int>(page)];
}

} // namespace Terminal
