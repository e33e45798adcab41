#include "IndexedNames.h"
#include "QtNames.h"
#include "events/KXEventType.h"

#include <benchmark/benchmark.h>
#include <random>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Bench {
namespace {

const std::pair<int, const char*> namedTypes[] = {
#define BENCH_NAMED_TYPE(number, name) {number, #name},
    KX_FOR_EACH_EVENT_TYPE(BENCH_NAMED_TYPE)
#undef BENCH_NAMED_TYPE
};

/// Many named types in an order that no branch prediction learns; the same for every contender.
std::vector<int> randomNamedTypes() {
    std::mt19937 random(1);
    std::vector<int> types(1U << 16);
    for (int& type : types)
        type = namedTypes[random() % std::size(namedTypes)].first;
    return types;
}

std::string nameFromHashTable(int type) {
    static const std::unordered_map<int, std::string> names(std::begin(namedTypes), std::end(namedTypes));
    return names.find(type)->second;
}

template<class Translate>
bool translatesAll(Translate translate) {
    bool isRight = true;
    for (const auto& [type, name] : namedTypes)
        isRight = isRight && translate(type) == name;
    return isRight;
}

template<class Translate>
void measure(benchmark::State& state, Translate translate) {
    const std::vector<int> types = randomNamedTypes();
    if (!translatesAll(translate))
        state.SkipWithError("a name is wrong");
    for (auto _ : state) {
        for (const int type : types) {
            std::string name = translate(type);
            benchmark::DoNotOptimize(name);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(types.size()));
}

template<class Translate>
void addContender(const char* name, Translate translate) {
    benchmark::RegisterBenchmark((std::string("name of an event type/") + name).c_str(),
                                 [translate](benchmark::State& state) { measure(state, translate); });
}

} // namespace
} // namespace Bench

int main(int argc, char** argv) {
    Bench::addContender("KXAPI", KX::translateEventTypeToString);
    Bench::addContender("table indexed by number", Bench::nameFromTable);
    Bench::addContender("hash table", Bench::nameFromHashTable);
    Bench::addContender("Qt valueToKey", Bench::nameFromMetaEnum);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
}
