#include "CapturedOutput.h"
#include "QueueHook.h"
#include "events/KXEventQueueAsPipe.h"
#include "platform/simulated/KXSimulation.h"

#include <deque>
#include <gtest/gtest.h>

namespace KX::test {
namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::size_t recordSize = 136;

// Offsets of the fields in a record. Flags, slots and padding lie between them.
struct Offset {
    enum { signalData = 24, sourceClass = 40, keyCode = 48, osKeyCode = 52, inputValue = 56, inputData = 60 };
    enum { eventClass = 88, eventType = 92, timeStamp = 96, eventData = 100, value = 116, count = 120 };
};

void put(Bytes& record, std::size_t offset, std::uint64_t number, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i)
        record[offset + i] = static_cast<unsigned char>(number >> 8 * i);
}

void put(Bytes& record, std::size_t offset, int number) {
    put(record, offset, static_cast<std::uint32_t>(number), 4);
}

std::uint64_t get(const Bytes& record, std::size_t offset, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < size; ++i)
        number |= std::uint64_t{record[offset + i]} << 8 * i;
    return number;
}

std::uint32_t getWord(const Bytes& record, std::size_t offset) {
    return static_cast<std::uint32_t>(get(record, offset, 4));
}

int getInt(const Bytes& record, std::size_t offset) {
    return static_cast<int>(getWord(record, offset));
}

Bytes recordOf(const Fields& holder) {
    Bytes record(recordSize, 0);
    put(record, Offset::sourceClass, holder.sourceClass);
    put(record, Offset::keyCode, holder.keyCode);
    put(record, Offset::osKeyCode, holder.osKeyCode);
    put(record, Offset::inputValue, holder.inputValue);
    put(record, Offset::eventClass, holder.eventClass);
    put(record, Offset::eventType, holder.eventType);
    put(record, Offset::timeStamp, holder.timeStamp, 4);
    put(record, Offset::value, holder.value);
    put(record, Offset::count, holder.count);
    for (std::size_t i = 0; i < 4; ++i) {
        put(record, Offset::inputData + 4 * i, holder.inputData[i], 4);
        put(record, Offset::eventData + 4 * i, holder.eventData[i], 4);
    }
    for (std::size_t i = 0; i < 2; ++i)
        put(record, Offset::signalData + 8 * i, holder.signalData[i], 8);
    return record;
}

Fields holderIn(const Bytes& record) {
    Fields holder;
    holder.sourceClass = getInt(record, Offset::sourceClass);
    holder.keyCode = getInt(record, Offset::keyCode);
    holder.osKeyCode = getInt(record, Offset::osKeyCode);
    holder.inputValue = getInt(record, Offset::inputValue);
    holder.eventClass = getInt(record, Offset::eventClass);
    holder.eventType = getInt(record, Offset::eventType);
    holder.timeStamp = getWord(record, Offset::timeStamp);
    holder.value = getInt(record, Offset::value);
    holder.count = getInt(record, Offset::count);
    for (std::size_t i = 0; i < 4; ++i) {
        holder.inputData[i] = getWord(record, Offset::inputData + 4 * i);
        holder.eventData[i] = getWord(record, Offset::eventData + 4 * i);
    }
    for (std::size_t i = 0; i < 2; ++i)
        holder.signalData[i] = get(record, Offset::signalData + 8 * i, 8);
    return holder;
}

const std::string writeMessage = "1 Class KXPipe has failed to write the data into the pipe ";
const std::string readMessage = "1 class KXPipe has failed to give data to event pointer";

/// A pipe queue: a list of bytes.
struct PipeModel {
    std::deque<unsigned char> bytes;
    bool isOpen = true;
    std::size_t capacity = 1 << 20;
    unsigned int failingWrites = 0;
    unsigned int failingReads = 0;
    QueueHook::Kind hook = QueueHook::none;
    std::vector<std::string> messages; // level and text

    bool write(const Bytes& data) {
        if (!isOpen)
            return false;
        if (failingWrites > 0)
            return --failingWrites, false;
        if (bytes.size() + data.size() > capacity)
            return false;
        bytes.insert(bytes.end(), data.begin(), data.end());
        return true;
    }

    PostResult post(const PlainEvent& event) {
        PostResult result;
        messages.push_back("4 " + traceOf(event.fields));
        const auto holder = holderOf(event, result.said);
        result.isMismatch = !holder;
        if (!holder)
            return result;
        if (!write(recordOf(*holder)))
            messages.push_back(writeMessage);
        if (hook != QueueHook::none)
            result.sizesSeen.push_back(size());
        if (hook == QueueHook::takes)
            result.taken.push_back(take());
        return result;
    }

    Fields take() {
        if (bytes.empty())
            return emptyHolder();
        Bytes record;
        if (failingReads > 0)
            --failingReads;
        else
            record = takeBytes();
        if (record.size() == recordSize)
            return holderIn(record);
        messages.push_back(readMessage);
        return emptyHolder();
    }

    /// A whole record, or the rest of one.
    Bytes takeBytes() {
        const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), recordSize));
        const Bytes taken(bytes.begin(), end);
        bytes.erase(bytes.begin(), end);
        return taken;
    }

    unsigned int size() const { return static_cast<unsigned int>(bytes.size() / recordSize); }
};

class PipeRun {
public:
    explicit PipeRun(std::uint32_t seed) : random(seed) {
        KXSimulation::reset();
        makeQueue();
        KXSimulation::takeDebugMessages();
    }

    ~PipeRun() {
        queue.reset();
        KXSimulation::reset();
    }

    /// Empty when library and model agree.
    std::string step(std::string& operation) {
        if (random.oneIn(400))
            isFilling = !isFilling;
        std::string complaint;
        switch (random.below(40)) {
        case 0: complaint = changeSomething(operation); break;
        case 1: complaint = writeRubbish(operation); break;
        case 2: complaint = readRaw(operation); break;
        default: complaint = random.below(10) < (isFilling ? 6U : 4U) ? post(operation) : take(operation);
        }
        return complaint + state();
    }

    unsigned int failedWrites = 0;
    unsigned int failedReads = 0;

private:
    void makeQueue() {
        queue.reset();
        const bool isRefused = random.oneIn(6);
        KXSimulation::failPipeInits(isRefused ? 1 : 0);
        queue = std::make_unique<KXEventQueueAsPipe>();
        const PipeModel former = model;
        model = PipeModel();
        model.isOpen = !isRefused;
        model.capacity = former.capacity;
        model.failingWrites = former.failingWrites;
        model.failingReads = former.failingReads;
    }

    std::string changeSomething(std::string& operation) {
        switch (random.below(6)) {
        case 0:
            operation = "new queue";
            if (random.oneIn(20))
                makeQueue();
            break;
        case 1:
            operation = "set hook";
            model.hook = random.oneOf({QueueHook::none, QueueHook::looks, QueueHook::takes});
            QueueHook::set(queue.get(), model.hook);
            break;
        case 2:
            operation = "reconnect";
            if (random.oneIn(10))
                return reconnect();
            break;
        case 3:
            operation = "set capacity";
            model.capacity = random.oneOf({135U, 136U, 137U, 272U, 1000U, 13600U, 1U << 20});
            KXSimulation::setPipeCapacity(static_cast<int>(model.capacity));
            break;
        case 4:
            operation = "let writes fail";
            KXSimulation::failPipeWrites(model.failingWrites = random.below(4));
            break;
        default: operation = "let reads fail"; KXSimulation::failPipeReads(model.failingReads = random.below(4));
        }
        return "";
    }

    std::string reconnect() {
        model.bytes.clear();
        model.isOpen = true;
        return queue->reconnect() == 0 ? "" : "\n  reconnect failed";
    }

    std::string post(std::string& operation) {
        operation = "post";
        const PlainEvent event = randomEvent(random);
        const PostResult expected = model.post(event);
        return postForReal(*queue, event, random, !expected.said.empty(), error).differsFrom(expected);
    }

    std::string take(std::string& operation) {
        operation = "take";
        const Fields expected = model.take();
        return differs(queue->getNextEvent(), expected);
    }

    /// Random bytes, as whole records and as pieces.
    std::string writeRubbish(std::string& operation) {
        operation = "write rubbish";
        Bytes rubbish(random.oneOf({1U, 64U, 135U, 136U, 137U, 272U, 1 + random.below(300)}));
        if (random.oneIn(2)) // completes the record, so that later events are whole
            rubbish.resize(recordSize - model.bytes.size() % recordSize);
        for (auto& byte : rubbish)
            byte = static_cast<unsigned char>(random.word());
        const bool isTaken = model.write(rubbish);
        const bool isTakenForReal = queue->writeIntoPipe(rubbish.data(), static_cast<int>(rubbish.size())) == 0;
        return isTaken == isTakenForReal ? "" : "\n  the pipe took or refused bytes unlike the model";
    }

    /// The bytes in the pipe, to compare the layout of records too.
    std::string readRaw(std::string& operation) {
        operation = "read bytes";
        if (model.bytes.size() < recordSize || model.failingReads > 0)
            return "";
        const Bytes expected = model.takeBytes();
        Bytes actual(recordSize);
        if (queue->readFromPipe(actual.data(), static_cast<int>(recordSize)) != 0)
            return "\n  the pipe did not give its bytes";
        const auto place = std::mismatch(expected.begin(), expected.end(), actual.begin());
        if (place.first == expected.end())
            return "";
        return "\n  byte " + std::to_string(place.first - expected.begin()) + " is " +
               std::to_string(*place.second) + " instead of " + std::to_string(*place.first);
    }

    std::string state() {
        std::ostringstream out;
        if (queue->getSize() != model.size())
            out << "\n  size " << queue->getSize() << " instead of " << model.size();
        if (queue->isEmpty() != model.bytes.empty())
            out << "\n  isEmpty is wrong";
        if (queue->isConnected() != model.isOpen)
            out << "\n  isConnected is wrong";
        return out.str() + messages();
    }

    std::string messages() {
        std::vector<std::string> actual;
        for (const auto& message : KXSimulation::takeDebugMessages())
            actual.push_back(std::to_string(message.level) + " " + message.text +
                             (message.section == "kx_event_queue" ? "" : " in section " + message.section));
        std::string complaint;
        if (actual != model.messages) {
            complaint = "\n  debug messages expected:";
            for (const auto& text : model.messages)
                complaint += "\n    " + text;
            complaint += "\n  actual:";
            for (const auto& text : actual)
                complaint += "\n    " + text;
        }
        for (const auto& text : model.messages) {
            failedWrites += text == writeMessage;
            failedReads += text == readMessage;
        }
        model.messages.clear();
        return complaint;
    }

    Random random;
    CapturedOutput error{STDERR_FILENO};
    PipeModel model;
    std::unique_ptr<KXEventQueueAsPipe> queue;
    bool isFilling = true;
};

TEST(PipeQueueModel, agreesWithARowOfBytesAfterEachOfManyRandomSteps) {
    unsigned int failedWrites = 0;
    unsigned int failedReads = 0;
    for (const std::uint32_t seed : seedsOfRun()) {
        PipeRun run(seed);
        std::string operation;
        for (std::uint32_t step = 0; step < stepsOfSeed(); ++step) {
            const std::string complaint = run.step(operation);
            ASSERT_TRUE(complaint.empty()) << whereabouts(seed, step, operation) << complaint;
        }
        failedWrites += run.failedWrites;
        failedReads += run.failedReads;
    }
    if (isFullRun()) {
        EXPECT_GT(failedWrites, 1000U) << "the run hardly met a pipe that takes nothing";
        EXPECT_GT(failedReads, 100U) << "the run hardly met a pipe that gives nothing";
    }
}

} // namespace
} // namespace KX::test
