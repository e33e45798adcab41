#include "terminal/WholeLines.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>
#include <thread>

using namespace Terminal;

namespace {

constexpr int linesOfEach = 30000; // enough to mix if nothing separates them

void writeInPieces(const std::string& word) {
    for (int i = 0; i < linesOfEach; ++i)
        std::cout << word << " " << word << ", " << word << std::endl;
}

} // namespace

TEST(WholeLinesTest, LinesOfTwoThreadsDoNotMix) {
    testing::internal::CaptureStdout();
    {
        const WholeLines wholeLines;
        std::thread other(writeInPieces, "worker");
        writeInPieces("window");
        other.join();
    }
    std::istringstream output(testing::internal::GetCapturedStdout());
    int lines = 0;
    for (std::string line; std::getline(output, line); ++lines)
        EXPECT_TRUE(line == "worker worker, worker" || line == "window window, window") << line;
    EXPECT_EQ(2 * linesOfEach, lines);
}

TEST(WholeLinesTest, TheBeginningOfALineIsNotLostWhenItEnds) {
    testing::internal::CaptureStdout();
    {
        const WholeLines wholeLines;
        std::cout << "no end" << '!';
    }
    std::cout << " and on" << std::endl;
    EXPECT_EQ("no end! and on\n", testing::internal::GetCapturedStdout());
}
