#include "CANProgram.h"

#include "platform/KXCANRaw.h"
#include "recording/format/CANLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <linux/can.h>
#include <map>
#include <memory>
#include <poll.h>
#include <unistd.h>

using namespace KX::CanBus;

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using Clock = std::chrono::steady_clock;

constexpr off_t hugeFile = off_t{1} << 32;

class KXCANProgramTest : public testing::Test {
protected:
    KXCANProgramTest() : path(folder / "bus"), bus("unix:" + path) {}

    int run(const std::vector<std::string>& arguments, const std::string& input = std::string()) {
        CANProgram program(folder, arguments, input);
        const int status = program.wait();
        errors = program.errors();
        output = program.output();
        return status;
    }

    void expectRefused(int status, const std::vector<std::string>& arguments, const std::string& message) {
        EXPECT_EQ(run(arguments), status) << message;
        EXPECT_EQ(errors, message + "\n");
        EXPECT_EQ(output, "");
    }

    TestFolder folder;
    const std::string path;
    const std::string bus;
    std::string output;
    std::string errors;
};

/// The next frame on the bus, in the notation of the command line.
std::string receiveText(const BusSocket& receiver) {
    can_frame frame{};
    const ssize_t size = receiver.receive(frame);
    if (size != static_cast<ssize_t>(sizeof(frame)))
        return "a datagram of " + std::to_string(size) + " bytes";
    KX::KXCANMessage message;
    message.canId = frame.can_id;
    message.canLength = frame.can_dlc;
    std::copy(std::begin(frame.data), std::end(frame.data), message.canData);
    return formatCANFrame(message);
}

TEST_F(KXCANProgramTest, sendsFramesInOrderByteForByte) {
    const BusSocket receiver(path);
    ASSERT_EQ(run({"send", bus, "18FF0001#0102030405060708", "123#", "7ff#a.B", "123#R3"}), 2) << "not a byte";
    ASSERT_TRUE(receiver.isEmpty()) << "a frame was sent before all were checked";
    ASSERT_EQ(run({"send", bus, "18FF0001#0102030405060708", "123#", "7ff#aa.Bb", "123#R3"}), 0) << errors;
    can_frame frame{};
    ASSERT_EQ(receiver.receive(frame), 16);
    EXPECT_EQ(frame.can_id, 0x98FF0001u);
    EXPECT_EQ(frame.can_dlc, 8);
    EXPECT_THAT(frame.data, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(receiveText(receiver), "123#");
    EXPECT_EQ(receiveText(receiver), "7FF#AABB");
    EXPECT_EQ(receiveText(receiver), "123#R3");
    EXPECT_TRUE(receiver.isEmpty());
    EXPECT_EQ(errors, "");
}

TEST_F(KXCANProgramTest, reachesTheBusOfTheLibrary) {
    setenv("KX_CAN_BUS_0", bus.c_str(), 1);
    const std::unique_ptr<KX::KXCANRaw> reader(KX::KXCANRaw::create(0, 0, 0));
    unsetenv("KX_CAN_BUS_0");
    ASSERT_NE(reader, nullptr);
    ASSERT_EQ(run({"send", bus, "18FF0001#0102", "123#R", "123#AA"}), 0) << errors;
    KX::KXCANMessage message;
    ASSERT_EQ(reader->readFrame(message), 0);
    EXPECT_EQ(message.canId, 0x98FF0001u);
    EXPECT_EQ(message.canLength, 2u);
    EXPECT_THAT(message.canData, ElementsAre(1, 2, 0, 0, 0, 0, 0, 0));
    ASSERT_EQ(reader->readFrame(message), 0);
    EXPECT_EQ(message.canId, 0x123u) << "the library passes remote frames over";
}

std::string makeFloodLine(unsigned int number) {
    CANLogLine line;
    line.bus = "can0";
    line.time = std::chrono::microseconds(number);
    line.frame.canId = 0x98FF0001;
    std::memcpy(line.frame.canData, &number, sizeof(number));
    return formatCANLogLine(line) + "\n";
}

TEST_F(KXCANProgramTest, aFloodLosesNoFrame) {
    const unsigned int count = 10000;
    std::string log;
    for (unsigned int i = 0; i < count; ++i)
        log += makeFloodLine(i);
    setenv("KX_CAN_BUS_0", bus.c_str(), 1);
    const std::unique_ptr<KX::KXCANRaw> reader(KX::KXCANRaw::create(0, 0, 0));
    unsetenv("KX_CAN_BUS_0");
    ASSERT_NE(reader, nullptr);
    CANProgram program(folder, {"play", "--fast", bus, folder.write("log", log)});
    KX::KXCANMessage message;
    for (unsigned int i = 0; i < count; ++i) {
        pollfd waiting{reader->getReadEndPointID(), POLLIN, 0};
        ASSERT_EQ(poll(&waiting, 1, 20000), 1) << "no frame " << i;
        ASSERT_EQ(reader->readFrame(message), 0);
        unsigned int number = 0;
        std::memcpy(&number, message.canData, sizeof(number));
        ASSERT_EQ(number, i);
    }
    EXPECT_EQ(program.wait(), 0) << program.errors();
    EXPECT_NE(reader->readFrame(message), 0);
}

const char* const shortLog = "# a comment\n"
                             "(1436509052.000000) can0 18FF0001#01\n"
                             "\n"
                             "(1436509053.000000) can1 123#02\r\n"
                             "(1436509052.500000) can0 123#03\n"
                             "(1436509054.000000) can0 123#04 R";

TEST_F(KXCANProgramTest, playsALogInOrderAndInTime) {
    const BusSocket receiver(path);
    const Clock::time_point start = Clock::now();
    CANProgram program(folder, {"play", "--speed", "10", bus, folder.write("log", shortLog)});
    EXPECT_EQ(receiveText(receiver), "18FF0001#01");
    EXPECT_EQ(receiveText(receiver), "123#02");
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(100)) << "a frame was early";
    EXPECT_EQ(receiveText(receiver), "123#03");
    EXPECT_EQ(receiveText(receiver), "123#04");
    const auto last = Clock::now() - start;
    EXPECT_EQ(program.wait(), 0) << program.errors();
    EXPECT_EQ(program.errors(), "") << "a short play is silent";
    EXPECT_GE(last, std::chrono::milliseconds(200)) << "a frame was early";
    EXPECT_LT(last, std::chrono::milliseconds(1900)) << "not ten times as fast";
}

TEST_F(KXCANProgramTest, playsStandardInputUntilABadLine) {
    const BusSocket receiver(path);
    EXPECT_EQ(run({"play", bus, "-", "--fast"}, shortLog), 0) << errors;
    for (const char* const text : {"18FF0001#01", "123#02", "123#03", "123#04"})
        EXPECT_EQ(receiveText(receiver), text);
    EXPECT_EQ(run({"play", "--fast", bus, "-"}, "(0.000000) a 123#01\n(0.000000) a 123#1\n"), 2);
    EXPECT_EQ(errors, "-:2: the data '1' are not bytes of two hexadecimal digits each\n");
    EXPECT_EQ(receiveText(receiver), "123#01");
}

TEST_F(KXCANProgramTest, aFileWithABadLineIsNotPlayedAtAll) {
    const BusSocket receiver(path);
    const std::string good = "(0.000000) a 123#01\n";
    const std::string log = folder.write("log", good + "\n" + good + "what is this\n");
    expectRefused(2, {"play", bus, log},
                  log + ":4: the time 'what' is not (seconds.microseconds) with 6 digits behind the point");
    EXPECT_TRUE(receiver.isEmpty());
}

TEST_F(KXCANProgramTest, aLineThatIsTooLongIsRefused) {
    const std::string longest = "#" + std::string(1048575, 'x');
    const BusSocket receiver(path);
    EXPECT_EQ(run({"play", "--fast", bus, folder.write("log", longest + "\n(0.000000) a 123#01\n")}), 0) << errors;
    const std::string log = folder.write("log", "# first\n" + longest + "x\n");
    expectRefused(2, {"play", "--fast", bus, log}, log + ":2: the line is longer than 1048576 characters");
    EXPECT_EQ(run({"play", "--fast", bus, "-"}, longest + "x"), 2);
    EXPECT_EQ(errors, "-:1: the line is longer than 1048576 characters\n");
}

TEST_F(KXCANProgramTest, aHugeFileWithoutALineEndIsRefusedAtItsBeginning) {
    const std::string log = folder.write("log", "");
    ASSERT_EQ(truncate(log.c_str(), hugeFile), 0); // uses no space on the disk
    expectRefused(2, {"play", "--fast", bus, log}, log + ":1: the line is longer than 1048576 characters");
}

TEST_F(KXCANProgramTest, framesThatNobodyCanSendAreRefused) {
    const std::string what = "an error frame cannot be sent; only the driver of a bus makes them";
    expectRefused(2, {"send", bus, "20000004#00"}, "kxcan: argument 3: " + what);
    const std::string log = folder.write("log", "(0.000000) a 20000004#00\n");
    expectRefused(2, {"play", bus, log}, log + ":1: " + what);
    expectRefused(2, {"send", bus, "123#", "123##311"},
                  "kxcan: argument 4: '123##311' is a CAN FD frame; only frames of classic CAN are supported");
}

TEST_F(KXCANProgramTest, badArgumentsAreToldInOneLine) {
    const std::string hint = " is missing; kxcan --help shows how to call it";
    expectRefused(2, {}, "kxcan: a command, send or play," + hint);
    expectRefused(2, {"send"}, "kxcan: the bus" + hint);
    expectRefused(2, {"send", bus}, "kxcan: the frame" + hint);
    expectRefused(2, {"send", "-x", "123#"}, "kxcan: argument 2: unknown option '-x'");
    expectRefused(2, {"play"}, "kxcan: the bus" + hint);
    expectRefused(2, {"play", bus}, "kxcan: the file" + hint);
    expectRefused(2, {"play", bus, "a", "b"}, "kxcan: argument 4: unexpected 'b'");
    expectRefused(2, {"play", "--slow", bus, "a"}, "kxcan: argument 2: unknown option '--slow'");
    expectRefused(2, {"play", "--fast", "--fast", bus, "a"}, "kxcan: argument 3: --fast is given twice");
    for (const std::vector<std::string>& both : std::vector<std::vector<std::string>>{
             {"play", "--fast", "--speed=2", bus, "a"}, {"play", "--speed=2", "--fast", bus, "a"}})
        expectRefused(2, both, "kxcan: argument 3: --fast and --speed do not go together");
    expectRefused(2, {"replay\n"}, "kxcan: argument 1: unknown command 'replay?'");
    for (const char* const speed : {"", "0", "0.0009", "1000.1", "-1", "1x", "nan", "inf", " 1"}) {
        expectRefused(2, {"play", "--speed", speed, bus, "a"},
                      std::string("kxcan: argument 3: --speed: '") + speed +
                          "' is not a number from 0.001 to 1000");
    }
    for (const auto& [noBus, told] : std::map<std::string, std::string>{
             {"unix:", "'unix:': the path of a virtual bus must have 1 to 107 bytes"},
             {"unix:" + std::string(108, 'x'),
              "'unix:" + std::string(35, 'x') + "...': the path of a virtual bus must have 1 to 107 bytes"},
             {"sixteen-letters-", "'sixteen-letters-': the name of an interface must have 1 to 15 bytes"}}) {
        expectRefused(2, {"send", noBus, "123#"}, "kxcan: argument 2: " + told);
        expectRefused(2, {"play", "--fast", noBus, "a"}, "kxcan: argument 3: " + told);
    }
    expectRefused(2, {"play", bus, folder / "none"}, folder / "none" + ": No such file or directory");
    expectRefused(2, {"play", bus, folder / ""}, folder / "" + ": Is a directory");
}

TEST_F(KXCANProgramTest, aBusThatFailsIsToldInOneLine) {
    expectRefused(1, {"send", bus, "123#"}, "kxcan: " + bus + ": nobody listens there: No such file or directory");
    folder.write("bus", "");
    expectRefused(1, {"send", bus, "123#"}, "kxcan: " + bus + ": is no socket");
    const std::string log = folder.write("log", shortLog);
    expectRefused(1, {"play", bus, log}, "kxcan: " + bus + ": is no socket");
    EXPECT_EQ(run({"send", "kx-no-such", "123#"}), 1);
    EXPECT_THAT(errors, StartsWith("kxcan: kx-no-such: "));
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1);
}

TEST_F(KXCANProgramTest, aReceiverThatLeavesIsTold) {
    auto receiver = std::make_unique<BusSocket>(path);
    const std::string log = folder.write("log", "(0.000000) a 123#01\n(0.500000) a 123#02\n");
    CANProgram program(folder, {"play", bus, log});
    ASSERT_EQ(receiveText(*receiver), "123#01");
    receiver.reset();
    EXPECT_EQ(program.wait(), 1);
    EXPECT_EQ(program.errors(), "kxcan: " + bus + ": the receiver is gone\n");
}

TEST_F(KXCANProgramTest, aReceiverThatTakesNothingIsNotWaitedForForEver) {
    const BusSocket receiver(path);
    std::string log;
    for (unsigned int i = 0; i < 10000; ++i)
        log += makeFloodLine(i);
    EXPECT_EQ(run({"play", "--fast", bus, folder.write("log", log)}), 1);
    EXPECT_EQ(errors, "kxcan: " + bus + ": the receiver has taken nothing for 5000 ms\n");
}

TEST_F(KXCANProgramTest, aLogThatWasLostIsAnError) {
    const BusSocket receiver(path);
    for (const char* const text : {"", "\n", "# a comment\n\n"}) {
        const std::string log = folder.write("log", text);
        expectRefused(2, {"play", bus, log}, log + ": there is nothing to play in it");
        EXPECT_EQ(run({"play", bus, "-"}, text), 2);
        EXPECT_EQ(errors, "-: there is nothing to play in it\n");
    }
    EXPECT_TRUE(receiver.isEmpty());
}

TEST_F(KXCANProgramTest, helpThatCannotBeWrittenIsTold) {
    for (const char* const words : {"--help > /dev/full", "--version > /dev/full"}) {
        ToolProgram program("/bin/sh", folder, {"-c", std::string(KXCAN) + " " + words});
        EXPECT_EQ(program.wait(), 1) << words;
        EXPECT_EQ(program.errors(), "kxcan: standard output: No space left on device\n");
    }
    ToolProgram closed("/bin/sh", folder, {"-c", std::string(KXCAN) + " --help >&-"});
    EXPECT_EQ(closed.wait(), 1);
    EXPECT_EQ(closed.errors(), "kxcan: standard output: Bad file descriptor\n");
}

TEST_F(KXCANProgramTest, twoDashesEndTheOptions) {
    const BusSocket receiver(path);
    EXPECT_EQ(run({"send", "--", bus, "123#01"}), 0) << errors;
    EXPECT_EQ(receiveText(receiver), "123#01");
    expectRefused(2, {"play", "--", bus, "--fast"}, "--fast: No such file or directory");
    expectRefused(2, {"play", "--speed=0", bus, "a"},
                  "kxcan: argument 2: --speed: '0' is not a number from 0.001 to 1000");
}

TEST_F(KXCANProgramTest, tellsHowToCallIt) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"--help"}, {"-h"}, {"send", "--help"}, {"play", "-h"}}) {
        EXPECT_EQ(run(arguments), 0);
        EXPECT_THAT(output, HasSubstr("Examples:"));
        EXPECT_THAT(output, HasSubstr("Exit status:"));
        EXPECT_EQ(errors, "");
    }
    EXPECT_EQ(run({"--version"}), 0);
    EXPECT_EQ(output, "kxcan " KXCAN_VERSION "\n");
}

} // namespace
