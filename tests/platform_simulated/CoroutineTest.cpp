#include "platform/simulated/Coroutine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace KX::test {

using testing::ElementsAre;

namespace {

/// The message of the exception that the caller is handling.
std::string handledMessage() {
    try {
        throw;
    } catch (const std::exception& error) {
        return error.what();
    }
}

void pauseDeepDown(Coroutine& coroutine, int depth) {
    if (depth == 0)
        coroutine.pause();
    else
        pauseDeepDown(coroutine, depth - 1);
}

} // namespace

TEST(Coroutines, DoNotRunBeforeTheyAreResumed) {
    bool hasRun = false;
    Coroutine coroutine([&] { hasRun = true; });
    EXPECT_FALSE(hasRun);
    EXPECT_TRUE(coroutine.resume());
    EXPECT_TRUE(hasRun);
}

TEST(Coroutines, GoOnWhereTheyPaused) {
    std::vector<std::string> trace;
    std::optional<Coroutine> coroutine;
    coroutine.emplace([&] {
        trace.emplace_back("begins");
        pauseDeepDown(*coroutine, 5);
        trace.emplace_back("ends");
    });
    EXPECT_FALSE(coroutine->resume());
    trace.emplace_back("meanwhile");
    EXPECT_TRUE(coroutine->resume());
    EXPECT_THAT(trace, ElementsAre("begins", "meanwhile", "ends"));
}

TEST(Coroutines, RunInsideOneAnother) {
    std::vector<std::string> trace;
    std::optional<Coroutine> inner;
    inner.emplace([&] {
        trace.emplace_back("inner");
        inner->pause();
        trace.emplace_back("inner again");
    });
    std::optional<Coroutine> outer;
    outer.emplace([&] {
        inner->resume();
        trace.emplace_back("outer");
        outer->pause();
        trace.emplace_back("outer again");
    });
    outer->resume();
    inner->resume(); // by another one than the first time
    outer->resume();
    EXPECT_THAT(trace, ElementsAre("inner", "outer", "inner again", "outer again"));
}

// The run-time library counts the exceptions of a thread, and both sides are on one thread.
TEST(Coroutines, HandleExceptionsOfTheirOwn) {
    std::string message;
    std::optional<Coroutine> coroutine;
    coroutine.emplace([&] {
        try {
            throw std::runtime_error("of the coroutine");
        } catch (const std::exception&) {
            coroutine->pause();
            message = handledMessage();
        }
    });
    coroutine->resume();
    EXPECT_FALSE(std::current_exception());
    try {
        throw std::runtime_error("of the caller");
    } catch (const std::exception&) {
        coroutine->resume();
        EXPECT_EQ("of the caller", handledMessage());
    }
    EXPECT_EQ("of the coroutine", message);
    EXPECT_FALSE(std::current_exception());
}

TEST(Coroutines, HaveRoomForHalfAMegabyte) {
    char sum = 0;
    Coroutine coroutine([&] {
        volatile char room[512 * 1024];
        for (std::size_t i = 0; i < sizeof room; i += 1024)
            room[i] = 1;
        for (std::size_t i = 0; i < sizeof room; i += 1024 * 128)
            sum = static_cast<char>(sum + room[i]);
    });
    coroutine.resume();
    EXPECT_EQ(4, sum);
}

TEST(CoroutinesDeath, AnExceptionThatLeavesTheBodyEndsTheProgram) {
    const auto throwOut = [] { Coroutine([] { throw std::runtime_error("of the body"); }).resume(); };
    EXPECT_DEATH(throwOut(), "of the body");
}

TEST(CoroutinesDeath, DestroyedInAPauseEndsTheProgram) {
    const auto destroyPaused = [] {
        std::optional<Coroutine> coroutine;
        coroutine.emplace([&] { coroutine->pause(); });
        coroutine->resume();
    };
    EXPECT_DEATH(destroyPaused(), "");
}

} // namespace KX::test
