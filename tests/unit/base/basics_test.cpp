#include <gtest/gtest.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>

#include "base/bytes.h"
#include "base/clock.h"
#include "base/public_file.h"
#include "base/shell.h"
#include "base/text.h"
#include "support/fake_platform.h"
#include "support/frames.h"
#include "support/log_capture.h"
#include "support/test_clock.h"

namespace {
int64_t wallClockStep = 0;  // seconds by which the wall clock was set
}

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
#ifdef SYS_clock_gettime64  // where the other one has times of 32 bits
    const long result = syscall(SYS_clock_gettime64, clock, time);
#else
    const long result = syscall(SYS_clock_gettime, clock, time);
#endif
    if (clock == CLOCK_REALTIME) time->tv_sec += wallClockStep;
    return static_cast<int>(result);
}
extern "C" time_t time(time_t*) noexcept {
    timespec t{};
    clock_gettime(CLOCK_REALTIME, &t);
    return t.tv_sec;
}

namespace {

TEST(Clock, NeverStepsAndMapsStampsToTheWallClock) {
    const Seconds stamp = now();
    for (const int64_t step : {0, 1'000'000, -1'000'000, 0}) {
        wallClockStep = step;
        EXPECT_LE(std::abs(now() - stamp), 1) << step;
        EXPECT_LE(std::abs(wallClock() - stamp - step), 1) << step;
        EXPECT_EQ(toWallClock(stamp), stamp + step);
    }
}

TEST(Shell, CommandsEndWithABrokenPipeEvenIfTheDaemonDoesNot) {
    const auto before = signal(SIGPIPE, SIG_IGN);
    fakePlatform().onCommand = [] { EXPECT_EQ(signal(SIGPIPE, SIG_DFL), SIG_DFL); };
    (void)runShell("true");
    EXPECT_EQ(fakePlatform().commands.size(), 1U);
    EXPECT_EQ(signal(SIGPIPE, before), SIG_IGN);
}

// A text of another device that colors, reverses, forges or breaks what it is written to.
TEST(Text, OfOthersIsCleanedBeforeItIsWritten) {
    const std::string hostile =
        "\x1b[1m\r\nLVL=0\x7f\xc2\x85\xc2\x9b\xc2\xa0\xd8\x9c\xd8\x9d\xe2\x80\x8e"
        "\xe2\x80\x8f\xe2\x80\xaa\xe2\x80\xae\xe2\x80\xaf\xe2\x81\xa6\xe2\x81\xa9\"\\"
        "\xc3\xbc\xff\xc3";
    const std::string clean = "[1mLVL=0\xc2\xa0\xd8\x9d\xe2\x80\xaf\xc3\xbc";
    EXPECT_EQ(plainText(hostile), clean);
    EXPECT_EQ(plainText(hostile, 6), "[1mLVL");
    // What was not cleaned before does no harm in a log either; quotes may be our own.
    const std::string line = "[1mLVL=0\xc2\xa0\xd8\x9d\xe2\x80\xaf\"\\\xc3\xbc";
    LogCapture log;
    LOG(1, "(\"%s\")\r\n", hostile.c_str());
    EXPECT_NE(log.finish().find("): (\"" + line + "\")\r\n"), std::string::npos);
    Outputlog("%s", hostile.c_str());
    EXPECT_EQ(fakePlatform().calls.back(), "outputlogData " + line);
}

TEST(Log, HasTheTimeInTheFormatThatIsChosen) {
    setTestTime(86'400);
    setenv("TZ", "UTC-1", 1);
    LogCapture log;
    LOG(1, "a\r\n");
    setLogTimeIso(true);
    LOG(1, "b\r\n");
    setLogTimeIso(false);
    const std::string text = log.finish();
    EXPECT_NE(text.find("[vm1905] [TM=86400/LVL=1] - TestBody("), std::string::npos) << text;
    EXPECT_NE(text.find("[vm1905] [TM=1970-01-02T01:00:00+0100/LVL=1] - "), std::string::npos);
    useSystemClock();
    unsetenv("TZ");
}

TEST(PublicFile, RemovesByTheBeginningAndFollowsNoLink) {
    std::string folder = "/tmp/base-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const std::string removed = folder + "/vm905_a", kept = folder + "/vm1905_kept";
    for (const auto& path : {removed, kept + "/b"}) std::filesystem::create_directories(path);
    std::filesystem::create_directory_symlink(kept, removed + "/link");
    removePublicFiles(folder, "vm905_");
    EXPECT_FALSE(std::filesystem::exists(removed));
    EXPECT_EQ(std::filesystem::remove_all(folder), 3U) << "the rest";
}

// In a buffer of each size up to the necessary one: a failed access reads or writes nothing.
TEST(Bytes, NothingOutsideTheBufferIsTouched) {
    const Frame bytes = hex("010203040506");
    const MacAddr mac(bytes.data());
    const struct {
        size_t width, value;
        std::function<size_t(ByteReader&)> read;
        std::function<void(ByteWriter&)> write;
    } cases[] = {
        {1, 0x1, [](auto& r) { return r.u8(); }, [](auto& w) { w.u8(0x301); }},
        {2, 0x102, [](auto& r) { return r.u16(); }, [](auto& w) { w.u16(0x90102); }},
        {4, 0x1020304, [](auto& r) { return r.u32(); }, [](auto& w) { w.u32(0x1020304); }},
        {6, 6, [](auto& r) { return r.mac().b[5]; }, [&](auto& w) { w.mac(mac); }},
        {3, 3, [](auto& r) { return r.take(3).size(); }, [](auto& w) { w.bytes(hex("010203")); }},
    };
    for (const auto& c : cases) {
        for (size_t room = 0; room <= c.width; room++) {
            const bool fits = room == c.width;
            const Frame exact(bytes.begin(), bytes.begin() + static_cast<int>(room));
            ByteReader reader(exact);
            EXPECT_EQ(c.read(reader), fits ? c.value : 0) << c.width << " bytes of " << room;
            EXPECT_EQ(reader.ok(), fits);
            EXPECT_TRUE(fits || reader.u8() == 0) << "a failed reader stays failed";
            Frame out(room, 0xEE);
            ByteWriter writer(out);
            c.write(writer);
            EXPECT_EQ(writer.ok(), fits);
            EXPECT_EQ(out, fits ? exact : Frame(room, 0xEE)) << c.width << " bytes into " << room;
        }
    }
    ByteReader reader(bytes);
    reader.skip(SIZE_MAX);
    EXPECT_FALSE(reader.ok());
    Frame out(4);
    EXPECT_FALSE(ByteWriter(out).u8(1).skip(SIZE_MAX).ok());
}

}  // namespace
