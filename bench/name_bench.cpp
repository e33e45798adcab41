// The name of an event type.

#include "bench/support/Measurement.h"
#include "events/KXEventType.h"

#include <QMetaEnum>
#include <QObject>

#include <array>
#include <random>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Bench {

/// The numbering as a Qt program would declare it.
class QtNames {
    Q_GADGET
public:
    enum Type {
#define BENCH_TYPE(number, name) name = number,
        KX_FOR_EACH_EVENT_TYPE(BENCH_TYPE)
#undef BENCH_TYPE
    };
    Q_ENUM(Type)
};

namespace {

constexpr std::pair<int, const char*> namedTypes[] = {
#define BENCH_NAMED_TYPE(number, name) {number, #name},
    KX_FOR_EACH_EVENT_TYPE(BENCH_NAMED_TYPE)
#undef BENCH_NAMED_TYPE
};

using Table = std::array<std::string_view, KX::KX_MAX_EVENT_TYPE_NUMBER + 1>;

constexpr Table makeTable() {
    Table table;
    for (const auto& [type, name] : namedTypes)
        table[static_cast<std::size_t>(type)] = name;
    return table;
}

std::string nameFromTable(int type) {
    static constexpr Table table = makeTable();
    return std::string(table[static_cast<std::size_t>(type)]);
}

std::string nameFromHashTable(int type) {
    static const std::unordered_map<int, std::string> names(std::begin(namedTypes), std::end(namedTypes));
    return names.find(type)->second;
}

std::string nameFromMetaEnum(int type) {
    static const QMetaEnum names = QMetaEnum::fromType<QtNames::Type>();
    return names.valueToKey(type);
}

using Translate = std::string (*)(int);

// Each name is asked for by a call, as the library's is.
void measure(benchmark::State& state, Translate translate) {
    // Many types in an order that no branch prediction learns; the same for every contender.
    std::mt19937 random(1);
    std::vector<int> types(1U << 16);
    for (int& type : types)
        type = namedTypes[random() % std::size(namedTypes)].first;
    for (const auto& [type, name] : namedTypes)
        if (translate(type) != name)
            state.SkipWithError("a name is wrong");
    for (auto _ : state) {
        for (const int type : types) {
            std::string name = translate(type);
            benchmark::DoNotOptimize(name);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(types.size()));
}

} // namespace

void addAll() {
    const auto addContender = [](const char* name, Group group, Translate translate) {
        add({"name of an event type", name, group, [translate](auto& state) { measure(state, translate); }});
    };
    addContender("KXAPI", Group::Ours, KX::translateEventTypeToString);
    addContender("table indexed by number", Group::Limit, nameFromTable);
    addContender("hash table", Group::Peer, nameFromHashTable);
    addContender("Qt valueToKey", Group::Peer, nameFromMetaEnum);
}

} // namespace Bench

#include "name_bench.moc"
