#include "events/KXEventQueueAsPipe.h"
#include "events/KXEventType.h"
#include "platform/simulated/KXSimulation.h"
#include "tests/support/EventSamples.h"

#include <gtest/gtest.h>

#include <vector>

namespace KX {
namespace {

using test::Fields;
using test::fieldsOf;

const std::string writeMessage = "Class KXPipe has failed to write the data into the pipe ";
const std::string readMessage = "class KXPipe has failed to give data to event pointer";

int hookCalls = 0;

class PipeQueue : public testing::Test {
protected:
    void SetUp() override {
        KXSimulation::reset();
        KXSimulation::setDebugLevel(1);
        hookCalls = 0;
    }

    void post(KXEventQueueAsPipe& queue, int type) {
        KXEvent event;
        event.eventType = type;
        queue.postEvent(event);
    }

    std::vector<std::string> errors() {
        std::vector<std::string> texts;
        for (const auto& message : KXSimulation::takeDebugMessages()) {
            EXPECT_EQ(message.level, 1);
            EXPECT_EQ(message.section, "kx_event_queue");
            texts.push_back(message.text);
        }
        return texts;
    }
};

using Texts = std::vector<std::string>;

TEST_F(PipeQueue, writes_one_record_of_136_bytes_with_the_fields_at_their_offsets) {
    KXEventQueueAsPipe queue;
    KXInputEvent event;
    event.eventType = 700;
    event.count = 0x01020304;
    queue.postEvent(event);
    ASSERT_EQ(queue.getNoOfBytesAvailable(), 136);

    unsigned char record[136];
    ASSERT_EQ(queue.readFromPipe(record, sizeof record), 0);
    EXPECT_EQ(record[92] | record[93] << 8 | record[94] << 16 | record[95] << 24, 700);
    EXPECT_EQ(record[120] | record[121] << 8 | record[122] << 16 | record[123] << 24, 0x01020304);
}

TEST_F(PipeQueue, can_be_waited_on_by_its_read_end_point) {
    KXEventQueueAsPipe queue;
    EXPECT_TRUE(queue.isConnected());
    EXPECT_GE(queue.getReadEndPointID(), 0);
    EXPECT_NE(queue.getReadEndPointID(), queue.getWriteEndPointID());
}

TEST_F(PipeQueue, loses_an_event_that_cannot_be_written_reports_it_once_and_calls_the_hook) {
    KXEventQueueAsPipe queue;
    queue.setAfterPostFunction([] { ++hookCalls; });
    KXSimulation::failPipeWrites(1);
    post(queue, 24);
    EXPECT_EQ(errors(), Texts{writeMessage});
    EXPECT_EQ(hookCalls, 1);
    EXPECT_TRUE(queue.isEmpty());
    post(queue, 25);
    EXPECT_EQ(queue.getNextEvent().eventType, 25);
    EXPECT_EQ(errors(), Texts{});
}

TEST_F(PipeQueue, takes_as_many_events_as_fit_into_a_full_pipe_and_no_half_one) {
    for (const int capacity : {3 * 136 - 1, 3 * 136, 3 * 136 + 1}) {
        KXSimulation::setPipeCapacity(capacity);
        KXEventQueueAsPipe queue;
        for (const int type : {1, 2, 3})
            post(queue, type);
        const bool thirdFits = capacity >= 3 * 136;
        EXPECT_EQ(errors(), thirdFits ? Texts{} : Texts{writeMessage}) << capacity;
        EXPECT_EQ(queue.getSize(), thirdFits ? 3U : 2U) << capacity;

        EXPECT_EQ(queue.getNextEvent().eventType, 1);
        post(queue, 4);
        EXPECT_EQ(queue.getNextEvent().eventType, 2) << "what was in the pipe is whole";
        if (thirdFits)
            EXPECT_EQ(queue.getNextEvent().eventType, 3);
        EXPECT_EQ(queue.getNextEvent().eventType, 4) << "and there is room again";
        EXPECT_TRUE(queue.isEmpty());
    }
}

TEST_F(PipeQueue, gives_a_default_holder_for_a_failing_read_and_reports_it_once) {
    KXEventQueueAsPipe queue;
    post(queue, 24);
    KXSimulation::failPipeReads(1);
    Fields holder;
    holder.eventClass = 7;
    EXPECT_EQ(fieldsOf(queue.getNextEvent()), holder);
    EXPECT_EQ(errors(), Texts{readMessage});
}

TEST_F(PipeQueue, counts_whole_records_only) {
    KXEventQueueAsPipe queue;
    unsigned char bytes[200] = {};
    const struct {
        int bytes;
        unsigned int records;
    } cases[] = {{1, 0}, {135, 0}, {136, 1}, {137, 1}, {200, 1}};
    for (const auto& test : cases) {
        ASSERT_EQ(queue.writeIntoPipe(bytes, test.bytes), 0);
        EXPECT_EQ(queue.getSize(), test.records) << test.bytes << " bytes";
        EXPECT_FALSE(queue.isEmpty()) << test.bytes << " bytes";
        ASSERT_EQ(queue.readFromPipe(bytes, test.bytes), 0);
    }
}

TEST_F(PipeQueue, reports_a_partly_written_record_and_goes_on_behind_it) {
    KXEventQueueAsPipe queue;
    post(queue, 24);
    unsigned char half[64] = {};
    ASSERT_EQ(queue.writeIntoPipe(half, sizeof half), 0);
    EXPECT_EQ(queue.getSize(), 1U);

    EXPECT_EQ(queue.getNextEvent().eventType, 24);
    EXPECT_EQ(errors(), Texts{});
    EXPECT_EQ(queue.getNextEvent().eventType, 0);
    EXPECT_EQ(errors(), Texts{readMessage});
    EXPECT_TRUE(queue.isEmpty()) << "a consumer that drains the queue comes to an end";
    post(queue, 25);
    EXPECT_EQ(queue.getNextEvent().eventType, 25);
}

TEST_F(PipeQueue, takes_a_record_from_elsewhere_with_rubbish_in_slots_flags_and_padding) {
    KXEventQueueAsPipe queue;
    KXSomeEvent event;
    test::fillEveryField(event);
    queue.postEvent(event);
    unsigned char record[136];
    ASSERT_EQ(queue.readFromPipe(record, sizeof record), 0);
    for (int offset = 0; offset < 136; ++offset)
        if (offset < 24 || (offset >= 44 && offset < 48) || (offset >= 76 && offset < 88) || offset >= 124)
            record[offset] = 0xFF;
    ASSERT_EQ(queue.writeIntoPipe(record, sizeof record), 0);

    const KXSomeEvent taken = queue.getNextEvent();
    EXPECT_EQ(fieldsOf(taken), fieldsOf(event));
    EXPECT_FALSE(taken.toolkitFlag || taken.navigationFlag || taken.incidentFlag || taken.triggerFlag);
}

TEST_F(PipeQueue, reports_posts_and_holds_nothing_when_the_pipe_could_not_be_opened) {
    KXSimulation::failPipeInits(1);
    KXEventQueueAsPipe queue;
    EXPECT_FALSE(queue.isConnected());
    post(queue, 24);
    EXPECT_EQ(errors(), Texts{writeMessage});
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_EQ(queue.getSize(), 0U);
    EXPECT_EQ(queue.getNextEvent().eventType, 0);
    EXPECT_EQ(queue.reconnect(), 0);
    post(queue, 24);
    EXPECT_EQ(queue.getNextEvent().eventType, 24);
}

} // namespace
} // namespace KX
