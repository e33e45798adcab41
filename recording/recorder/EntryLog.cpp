#include "recording/recorder/EntryLog.h"

#include "recording/format/RecordingFields.h"
#include "recording/format/RecordingFormat.h"
#include "recording/format/Varint.h"

#include <algorithm>
#include <utility>

namespace KX::Recording {

// The bytes never move, so a copy can be read while the log appends behind it.
struct EntryLog::Chunk {
    std::uint64_t startMs;
    std::size_t size = 0;
    std::vector<std::shared_ptr<const Input>> objects; // rare inputs, which are not packed
    std::array<std::uint8_t, chunkBytes> bytes;
};

namespace {

constexpr std::size_t mostEntryBytes = mostPackedBytes + 32;

// An estimate: a table of settings and what the heap needs for it.
constexpr std::size_t objectBytes = 1024;
constexpr std::size_t mostObjects = 64; // in a chunk

// Kinds 0 to 6 of an entry. The first number of an entry is the time since the entry before, times 8, plus the kind.
enum Kind : unsigned int { PassKind, ToolkitKind, InputKind, PostKind, FrameKind, NumberKind, ObjectKind };
constexpr unsigned int kindBits = 3;

struct Packer {
    std::uint64_t sinceLastMs;
    unsigned int tick;
    std::uint8_t* bytes;
    std::vector<std::shared_ptr<const Input>>& objects;
    const Input& input;

    std::uint8_t* begin(Kind kind) const { return packNumber(sinceLastMs << kindBits | kind, bytes); }

    std::uint8_t* operator()(const Pass& /*pass*/) const { return begin(PassKind); }
    std::uint8_t* operator()(const KXToolkitEvent& event) const {
        return packEvent(event, tick, begin(ToolkitKind));
    }
    std::uint8_t* operator()(const KXInputEvent& event) const { return packEvent(event, tick, begin(InputKind)); }
    std::uint8_t* operator()(const Post& post) const { return packEvent(post.event, tick, begin(PostKind)); }
    std::uint8_t* operator()(const NumberSetting& setting) const {
        return packNumber(foldSign(setting.value),
                          packNumber(static_cast<unsigned int>(setting.name), begin(NumberKind)));
    }
    std::uint8_t* operator()(const Frame& frame) const {
        if (frame.bus != keypadBus)
            return keep();
        const KXCANMessage& message = frame.message;
        std::uint8_t* const data = packNumber(message.canLength, packNumber(message.canId, begin(FrameKind)));
        return std::copy(std::begin(message.canData), std::end(message.canData), data);
    }
    template<class Rare>
    std::uint8_t* operator()(const Rare& /*rare*/) const {
        return keep();
    }

    std::uint8_t* keep() const {
        objects.push_back(std::make_shared<const Input>(input));
        return packNumber(objects.size() - 1, begin(ObjectKind));
    }
};

Frame unpackFrame(const std::uint8_t*& bytes) {
    Frame frame{keypadBus, {}};
    frame.message.canId = static_cast<std::uint32_t>(unpackNumber(bytes));
    frame.message.canLength = static_cast<std::uint32_t>(unpackNumber(bytes));
    for (unsigned char& byte : frame.message.canData)
        byte = *bytes++;
    return frame;
}

Input unpack(Kind kind, unsigned int tick, const std::uint8_t*& bytes,
             const std::vector<std::shared_ptr<const Input>>& objects) {
    switch (kind) {
    case ToolkitKind: return unpackEvent<KXToolkitEvent>(tick, bytes);
    case InputKind: return unpackEvent<KXInputEvent>(tick, bytes);
    case PostKind: return Post{unpackEvent<KXSomeEvent>(tick, bytes)};
    case FrameKind: return unpackFrame(bytes);
    case NumberKind: {
        const auto name = static_cast<KXInputSetting>(unpackNumber(bytes));
        return NumberSetting{name, unfoldSign(unpackNumber(bytes))};
    }
    case ObjectKind: return *objects[static_cast<std::size_t>(unpackNumber(bytes))];
    case PassKind: break;
    }
    return Pass();
}

void visitEntries(const std::uint8_t* bytes, const std::uint8_t* end, std::uint64_t timeMs,
                  const std::vector<std::shared_ptr<const Input>>& objects, const EntryLog::Visit& visit) {
    Entry entry;
    entry.timeMs = timeMs;
    while (bytes != end) {
        const std::uint64_t first = unpackNumber(bytes);
        entry.timeMs += first >> kindBits;
        entry.input = unpack(static_cast<Kind>(first & ((1U << kindBits) - 1)), entry.tick(), bytes, objects);
        visit(entry);
    }
}

} // namespace

EntryLog::Chunk& EntryLog::chunkFor(const Entry& entry) {
    if (chunks.empty() || chunks.back()->size + mostEntryBytes > chunkBytes ||
        chunks.back()->objects.size() == mostObjects) {
        chunks.push_back(std::make_shared<Chunk>());
        chunks.back()->startMs = chunks.size() == 1 ? entry.timeMs : lastMs;
    }
    return *chunks.back();
}

void EntryLog::append(const Entry& entry) {
    Chunk& chunk = chunkFor(entry);
    if (chunk.size == 0)
        lastMs = chunk.startMs;
    const std::size_t before = chunk.objects.size();
    std::uint8_t* const begin = chunk.bytes.data() + chunk.size;
    std::uint8_t* const end =
        std::visit(Packer{entry.timeMs - lastMs, entry.tick(), begin, chunk.objects, entry.input}, entry.input);
    chunk.size += static_cast<std::size_t>(end - begin);
    objectCount += chunk.objects.size() - before;
    lastMs = entry.timeMs;
}

EntryLog::Place EntryLog::end() const {
    if (chunks.empty())
        return {firstChunk, 0, lastMs};
    return {firstChunk + chunks.size() - 1, chunks.back()->size, lastMs};
}

EntryLog::Place EntryLog::begin() const {
    return {firstChunk, 0, chunks.empty() ? lastMs : chunks.front()->startMs};
}

EntryLog::Copy EntryLog::copy(const Place& from, const Place& to) const {
    Copy copy;
    copy.begin = from;
    for (std::uint64_t number = from.chunk; number <= to.chunk && number - firstChunk < chunks.size(); ++number) {
        const std::shared_ptr<Chunk>& chunk = chunks[static_cast<std::size_t>(number - firstChunk)];
        copy.parts.push_back({chunk, chunk->objects, number == to.chunk ? to.offset : chunk->size});
    }
    return copy;
}

void EntryLog::Copy::forEach(const Visit& visit) const {
    std::size_t offset = begin.offset;
    std::uint64_t timeMs = begin.timeMs;
    for (const Part& part : parts) {
        const std::uint8_t* const bytes = part.chunk->bytes.data();
        visitEntries(bytes + offset, bytes + part.size, offset == 0 ? part.chunk->startMs : timeMs, part.objects,
                     visit);
        offset = 0;
    }
}

void EntryLog::dropBefore(const Place& place, const Visit& visit) {
    while (firstChunk < place.chunk) {
        const Chunk& chunk = *chunks.front();
        visitEntries(chunk.bytes.data(), chunk.bytes.data() + chunk.size, chunk.startMs, chunk.objects, visit);
        objectCount -= chunk.objects.size();
        chunks.pop_front();
        ++firstChunk;
    }
}

void EntryLog::clear() {
    chunks.clear();
    firstChunk = lastMs = 0;
    objectCount = 0;
}

std::size_t EntryLog::bytes() const {
    return chunks.size() * sizeof(Chunk) + objectCount * objectBytes;
}

} // namespace KX::Recording
