#include "PlatformKit.h"
#include "platform/KXDebug.h"

#include <cerrno>
#include <climits>
#include <set>
#include <vector>

namespace KX::PlatformTests {

namespace {

/// As the event layer's own sections, made by a static initialiser of another library.
const unsigned int keyOfStaticInitialiser = KXDebug::insertNewDebugSection("platform_tests_early");

/// Speaks after main, too.
struct SpeaksAtTheEnd {
    ~SpeaksAtTheEnd() { KXDebug::debugPrintError(4, keyOfStaticInitialiser, "%s", "the end"); }
} const speaksAtTheEnd;

} // namespace

using Debug = PlatformTest;

TEST_F(Debug, theSameNameHasTheSameKey) {
    const unsigned int key = KXDebug::insertNewDebugSection("platform_tests_one");
    EXPECT_NE(KXDebug::insertNewDebugSection("platform_tests_two"), key);
    EXPECT_EQ(KXDebug::insertNewDebugSection("platform_tests_one"), key);
    EXPECT_EQ(KXDebug::insertNewDebugSection("platform_tests_early"), keyOfStaticInitialiser);
}

TEST_F(Debug, sectionsHaveKeysOfTheirOwn) {
    std::set<unsigned int> keys;
    for (int i = 0; i < 100; ++i)
        keys.insert(KXDebug::insertNewDebugSection("platform_tests_" + std::to_string(i)));
    EXPECT_EQ(keys.size(), 100U);
}

TEST_F(Debug, threadsMayRegisterTheSameSectionsAtOnce) {
    constexpr int count = 4;
    Meeting meeting(count);
    std::vector<std::vector<unsigned int>> keys(count);
    std::vector<std::thread> threads;
    for (auto& keysOfThread : keys)
        threads.emplace_back([&] {
            meeting.join();
            for (int i = 0; i < 1000; ++i) { // so many that the threads overlap
                const std::string name = "platform_tests_shared_" + std::to_string(i);
                keysOfThread.push_back(KXDebug::insertNewDebugSection(name));
                KXDebug::debugPrintError(4, keysOfThread.back(), "%s", name.c_str());
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& keysOfThread : keys)
        EXPECT_EQ(keysOfThread, keys[0]);
}

TEST_F(Debug, leavesErrnoAlone) {
    for (const int level : {1, 4}) {
        int after = -1;
        const auto speak = [&] {
            errno = ENOENT;
            KXDebug::debugPrintError(level, keyOfStaticInitialiser, "level %d of the platform tests", level);
            after = errno;
        };
        if (!adapter().listen(speak))
            speak();
        EXPECT_EQ(after, ENOENT) << "at level " << level;
    }
}

TEST_F(Debug, showsAnErrorAsPrintfWritesIt) {
    const auto shown = adapter().listen(
        [] { KXDebug::debugPrintError(1, keyOfStaticInitialiser, "%d, %u, %s and %%", -1, UINT_MAX, "text"); });
    if (!shown)
        GTEST_SKIP() << "the adapter cannot tell what is shown (listen)";
    EXPECT_NE(shown->find("-1, 4294967295, text and %"), std::string::npos) << *shown;
}

TEST_F(Debug, showsAnErrorOfAnUnknownKey) {
    const auto shown = adapter().listen([] { KXDebug::debugPrintError(1, UINT_MAX - 1, "of nobody"); });
    if (!shown)
        GTEST_SKIP() << "the adapter cannot tell what is shown (listen)";
    EXPECT_NE(shown->find("of nobody"), std::string::npos) << *shown;
}

} // namespace KX::PlatformTests
