#include "tools/kxreplay/statistics/SurveyMessage.h"

#include <cstring>
#include <type_traits>

namespace Replay {

namespace {

struct Head {
    std::size_t index;
    std::size_t problemBytes;
    std::size_t cells;
};

struct CellWithCount {
    Cell cell;
    std::uint64_t count;
};
static_assert(std::is_trivially_copyable_v<CellWithCount>);

template<typename Plain>
void append(std::string& bytes, const Plain& plain) {
    bytes.append(reinterpret_cast<const char*>(&plain), sizeof(plain));
}

template<typename Plain>
Plain readAt(const std::string& bytes, std::size_t place) {
    Plain plain;
    std::memcpy(&plain, bytes.data() + place, sizeof(plain));
    return plain;
}

} // namespace

std::string SurveyMessage::toBytes() const {
    std::string bytes;
    append(bytes, Head{index, problem.size(), counts.all().size()});
    bytes += problem;
    for (const auto& [cell, count] : counts.all())
        append(bytes, CellWithCount{cell, count});
    return bytes;
}

std::optional<SurveyMessage> SurveyMessage::takeFrom(std::string& bytes) {
    if (bytes.size() < sizeof(Head))
        return std::nullopt;
    const Head head = readAt<Head>(bytes, 0);
    const std::size_t cellsAt = sizeof(Head) + head.problemBytes;
    const std::size_t end = cellsAt + head.cells * sizeof(CellWithCount);
    if (bytes.size() < end)
        return std::nullopt;
    SurveyMessage message{head.index, bytes.substr(sizeof(Head), head.problemBytes), {}};
    for (std::size_t place = cellsAt; place < end; place += sizeof(CellWithCount)) {
        const auto one = readAt<CellWithCount>(bytes, place);
        message.counts.add(one.cell.kind, one.cell.numbers, one.count);
    }
    bytes.erase(0, end);
    return message;
}

} // namespace Replay
