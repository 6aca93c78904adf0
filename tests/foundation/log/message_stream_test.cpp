#include <qel/foundation/base/string.h>
#include <qel/foundation/log/message_stream.h>

#include <tests/support/log_capture.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <iomanip>
#include <sstream>
#include <thread>

using namespace qel;
using logging::MessageStream;
using test::LogCapture;
using Lines = std::vector<test::LogLine>;

namespace {

/// Expects that values print the same in a log line and on a fresh standard stream.
template <typename... T>
void expectToPrintAsOnAStream(const T&... values) {
    LogCapture capture;
    std::ostringstream stream;
    ((stream << values << '|'), ...);
    {
        MessageStream line(1, 2);
        ((line << values << '|'), ...);
    }
    EXPECT_EQ(capture.take(), (Lines{{1, 2, stream.str()}}));
}

/// Writes a line of its own while a line is being built.
struct Talkative {};

std::ostream& operator<<(std::ostream& out, const Talkative&) {
    MessageStream(1, 2) << "inner " << std::hex << 255;
    return out << "spoken";
}

} // namespace

TEST(MessageStream, PrintsAsAStandardStreamDoes) {
    enum Plain { kPlainValue = 3 };
    expectToPrintAsOnAStream(true, short{-1}, INT_MIN, UINT_MAX, LLONG_MIN, ULLONG_MAX, kPlainValue);
    expectToPrintAsOnAStream('c', static_cast<signed char>('s'), static_cast<unsigned char>('u'), '\0');
    expectToPrintAsOnAStream("literal", std::string("zero\0inside", 11), std::string_view("view"),
                             String("String"), static_cast<const void*>("address"), nullptr);
    expectToPrintAsOnAStream(std::hex, std::showbase, 255, std::setw(6), std::left, "x", std::dec,
                             std::setprecision(3), 2.0 / 3, std::boolalpha, true);
    expectToPrintAsOnAStream(std::setprecision(3), 2.0 / 3);
    for (const double value : {0.0, -0.0, 0.1, 123456.5, 999999.5, 1e-4, 1e-5, DBL_MAX, DBL_MIN, 4.9e-324,
                               -HUGE_VAL, std::nan("")}) {
        expectToPrintAsOnAStream(value, static_cast<float>(value * (value > FLT_MAX ? 0 : 1)),
                                 static_cast<long double>(value));
    }
}

TEST(MessageStream, LinesMayNestAndEndOnAnotherThread) {
    LogCapture capture;
    auto line = std::make_unique<MessageStream>(1, 2);
    *line << "outer " << Talkative() << ' ' << 255;
    std::thread([&] {
        *line << ", ended there";
        line.reset();
    }).join();
    EXPECT_EQ(capture.take(), (Lines{{1, 2, "inner ff"}, {1, 2, "outer spoken 255, ended there"}}));
}

TEST(MessageStream, TrailingWhitespaceIsCutFromOtherText) {
    LogCapture capture;
    MessageStream(2, 2) << " text \t\f\v\r\n\n" << std::endl;
    MessageStream(1, 2) << " \n ";
    MessageStream(1, 2) << static_cast<const char*>(nullptr) << SmartCStr(nullptr);
    EXPECT_EQ(capture.take(), (Lines{{2, 2, " text"}, {1, 2, " \n "}, {1, 2, ""}}));
}
