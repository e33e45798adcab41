#include "IndexedNames.h"

#include "events/KXEventType.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace Bench {
namespace {

using Names = std::array<std::string_view, KX::KX_MAX_EVENT_TYPE_NUMBER + 1>;

constexpr Names makeNames() {
    Names names;
#define BENCH_NAME(number, name) names[number] = #name;
    KX_FOR_EACH_EVENT_TYPE(BENCH_NAME)
#undef BENCH_NAME
    return names;
}

constexpr Names names = makeNames();

} // namespace

std::string nameFromTable(int type) {
    return std::string(names[static_cast<std::size_t>(type)]);
}

} // namespace Bench
