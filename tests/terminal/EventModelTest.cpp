#include "terminal/events/EventModel.h"

#include "events/KXEventType.h"
#include "terminal/events/EventPage.h"

#include <QAbstractItemModelTester>
#include <QScrollBar>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Terminal;

namespace {

ClassifiedEvents eventsAt(unsigned int firstTick, unsigned int count) {
    ClassifiedEvents events(count);
    for (unsigned int number = 0; number < count; ++number) {
        events[number].eventType = KX::ENCODER_MOVE_EVENT;
        events[number].timeStamp = firstTick + number;
    }
    return events;
}

std::string cell(const EventModel& model, int row, int column) {
    return model.index(row, column).data().toString().toStdString();
}

} // namespace

TEST(EventModelTest, TheNewestEventIsInTheFirstRow) {
    EventModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.append(eventsAt(100, 2));
    model.append(eventsAt(200, 1));
    ASSERT_EQ(3, model.rowCount());
    EXPECT_EQ("200", cell(model, 0, EventModel::Time));
    EXPECT_EQ("101", cell(model, 1, EventModel::Time));
    EXPECT_EQ("100", cell(model, 2, EventModel::Time));
}

TEST(EventModelTest, ARowHasAllColumns) {
    EventModel model;
    KX::KXInputEvent event;
    event.eventType = KX::MOUSE_PRESS_EVENT;
    event.timeStamp = 7;
    event.eventData[1] = 1;
    model.append({event});
    EXPECT_EQ("7", cell(model, 0, EventModel::Time));
    EXPECT_EQ("MOUSE_PRESS_EVENT", cell(model, 0, EventModel::Name));
    EXPECT_EQ("\u2013", cell(model, 0, EventModel::Distance)) << "there is no event before";
    EXPECT_EQ("\u2013", cell(model, 0, EventModel::KeyCode));
    EXPECT_EQ("3 input", cell(model, 0, EventModel::Class));
    EXPECT_EQ("Left button", cell(model, 0, EventModel::Key));
    EXPECT_EQ("\u2013", cell(model, 0, EventModel::ToolkitKey));
    EXPECT_EQ("\u2013", cell(model, 0, EventModel::Value));
    EXPECT_EQ("\u2013", cell(model, 0, EventModel::Count));
}

TEST(EventModelTest, ARowTellsHowLongAfterTheEventBeforeItWas) {
    EventModel model;
    model.append(eventsAt(100, 1));
    model.append(eventsAt(190, 2));
    EXPECT_EQ("+1 ms", cell(model, 0, EventModel::Distance));
    EXPECT_EQ("+90 ms", cell(model, 1, EventModel::Distance));
    EXPECT_EQ("\u2013", cell(model, 2, EventModel::Distance));
}

TEST(EventModelTest, KeepsTheNewestUpToItsCapacity) {
    constexpr auto capacity = static_cast<unsigned int>(EventModel::capacity);
    EventModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.append(eventsAt(0, capacity - 1));
    EXPECT_EQ(EventModel::capacity - 1, model.rowCount());
    model.append(eventsAt(capacity - 1, 1));
    EXPECT_EQ(EventModel::capacity, model.rowCount());
    EXPECT_EQ(0U, model.eventAt(EventModel::capacity - 1).timeStamp);
    model.append(eventsAt(capacity, 1));
    EXPECT_EQ(EventModel::capacity, model.rowCount());
    EXPECT_EQ(capacity, model.eventAt(0).timeStamp);
    EXPECT_EQ(1U, model.eventAt(EventModel::capacity - 1).timeStamp);
    EXPECT_EQ(capacity + 1, model.appendedCount());
}

TEST(EventModelTest, ABatchBeyondTheCapacityKeepsItsNewest) {
    constexpr auto capacity = static_cast<unsigned int>(EventModel::capacity);
    EventModel model;
    model.append(eventsAt(0, 5));
    model.append(eventsAt(5, capacity + 3));
    EXPECT_EQ(EventModel::capacity, model.rowCount());
    EXPECT_EQ(capacity + 7, model.eventAt(0).timeStamp);
    EXPECT_EQ(8U, model.eventAt(EventModel::capacity - 1).timeStamp);
}

TEST(EventModelTest, ViewsAreToldWhenTheModelHasTheEvents) {
    EventModel model;
    int rowsWhenTold = -1;
    QObject::connect(&model, &EventModel::appended, &model, [&] { rowsWhenTold = model.rowCount(); });
    model.append({});
    EXPECT_EQ(-1, rowsWhenTold) << "nothing was appended";
    model.append(eventsAt(0, 2));
    EXPECT_EQ(2, rowsWhenTold);
}

namespace {

class EventListViewTest : public testing::Test {
protected:
    EventListViewTest() : view(model) {
        view.resize(700, 300);
        view.show();
        model.append(eventsAt(0, 200));
        QCoreApplication::processEvents();
    }

    std::string timeInTopRow() const {
        return view.indexAt(QPoint(5, 5)).siblingAtColumn(EventModel::Time).data().toString().toStdString();
    }

    EventModel model;
    EventListView view;
};

} // namespace

TEST_F(EventListViewTest, FollowsTheNewestEventAtItsTop) {
    EXPECT_EQ("199", timeInTopRow());
    model.append(eventsAt(200, 3));
    QCoreApplication::processEvents();
    EXPECT_EQ("202", timeInTopRow());
}

TEST_F(EventListViewTest, ClassToolkitKeyAndTickAreShownOnDemand) {
    const auto isShown = [this](EventModel::Column column) { return !view.isColumnHidden(column); };
    for (const auto column : {EventModel::Time, EventModel::KeyCode, EventModel::ToolkitKey, EventModel::Class})
        EXPECT_FALSE(isShown(column)) << column;
    for (const auto column : {EventModel::Name, EventModel::Distance, EventModel::Key, EventModel::Value})
        EXPECT_TRUE(isShown(column)) << column;
    view.showDetails(true);
    for (const auto column :
         {EventModel::Name, EventModel::Time, EventModel::KeyCode, EventModel::ToolkitKey, EventModel::Class})
        EXPECT_TRUE(isShown(column)) << column;
    view.showDetails(false);
    EXPECT_FALSE(isShown(EventModel::Class));
}

TEST_F(EventListViewTest, TheLastLineIsWhole) {
    for (const int height : {200, 217, 300, 333}) {
        view.resize(700, height);
        QCoreApplication::processEvents();
        EXPECT_LE(view.viewport()->height() % view.rowHeight(0), view.viewport()->height() / view.rowHeight(0))
            << "only the rest of the division is left, at " << height;
    }
}

TEST_F(EventListViewTest, KeepsItsPlaceWhenScrolledDown) {
    for (const int row : {1, 50, view.verticalScrollBar()->maximum()}) {
        view.verticalScrollBar()->setValue(row);
        const std::string before = timeInTopRow();
        model.append(eventsAt(1000, 4));
        QCoreApplication::processEvents();
        EXPECT_EQ(before, timeInTopRow()) << "scrolled to row " << row;
    }
}
