#pragma once

#include "events/KXEvent.h"

#include <QVector>
#include <QWidget>

class QHBoxLayout;
class QVBoxLayout;

namespace Terminal {

class ActionPanel;
class EncoderView;
class EventModel;
class EventPage;
class InputSettings;
class KeypadPanel;
class ScreenButton;
class SettingsPanel;
class TimeLineView;

/// The pages below the soft keys, in the order in which they are turned.
///
/// In a large window the keypad and the actions are always visible and are not pages.
enum class Page { Events, TimeLine, Encoder, Keypad, Actions, Settings };

constexpr int pageCount = 6;

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

/// The area below the soft keys. It shows one of the pages, and in a large window the keypad and the actions above
/// it.
class PageArea : public QWidget {
    Q_OBJECT

public:
    /// \p model and \p settings must outlive the area.
    PageArea(EventModel& model, InputSettings& settings, QWidget* parent = nullptr);

    /// On a small screen the keypad and the actions are pages, and the page bar is placed elsewhere.
    void setPaged(bool paged);

    /// The distance between the parts, in pixels.
    void setSpacing(int spacing);

    /// Whether the page that is shown needs the room of the soft keys.
    bool needsRoom() const;

    /// Shows a page. In a large window the keypad and the actions are visible anyway; the area only remembers the
    /// choice.
    void showPage(Page page);

    /// The page that is shown.
    Page shownPage() const;

    /// Turns by \p steps pages in the order of the bar. After the last page comes the first.
    void turnPage(int steps);

    /// Shows the settings, or returns from them to the previous page.
    void toggleSettings();

    /// Hands the operator's input to the page that is shown.
    void takeInput(const KX::KXInputEvent& event);

    PageBar& bar() const;
    QWidget& pageWidget(Page page) const;
    KeypadPanel& keypad() const;
    ActionPanel& actions() const;
    EventPage& events() const;
    TimeLineView& timeLine() const;
    EncoderView& encoder() const;
    SettingsPanel& settings() const;

signals:
    /// Another page is shown, or it is shown in another way.
    void arranged();

private:
    QVector<Page> pagesNow() const;
    bool isDevice(Page page) const;
    void feedViews(EventModel& model, InputSettings& settings);
    void arrange();

    PageBar* pageBar;
    KeypadPanel* keypadPanel;
    ActionPanel* actionPanel;
    EventPage* eventPage;
    TimeLineView* timeLineView;
    EncoderView* encoderView;
    SettingsPanel* settingsPanel;
    QVector<QWidget*> widgets; // by page
    QVBoxLayout* column;
    QHBoxLayout* devices;
    bool isPaged = false;
    Page wantedPage = Page::Events;
    Page pageBeforeSettings = Page::Events;
};

} // namespace Terminal
