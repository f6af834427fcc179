#include "Vondrel/Utilities/Tools/LexicalCast.h"
#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <locale>
#include <optional>
#include <random>
#include <sstream>

using namespace Vondrel::Utilities::Tools;
using testing::HasSubstr;
using Vondrel::Utilities::Exceptions::NullPointerException;

namespace {

template<typename To>
std::optional<To> Cast(const std::string& text)
{
    try {
        return lexical_cast<To>(text);
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

template<typename To>
std::optional<To> Extract(const std::string& text)
{
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    To value;
    return stream >> value ? std::optional<To>(value) : std::nullopt;
}

template<typename From>
std::string Insert(From value)
{
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << value;
    return stream.str();
}

/// Decimal comma and points between thousands.
struct CommaPunctuation : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

struct Counted {
    explicit Counted(int& count_) : count(count_) { ++count; }
    virtual ~Counted() { --count; }
    int& count;
};

struct CountedMore : Counted {
    using Counted::Counted;
};

}

TEST(LexicalCast, ReadsAsAStreamDoes)
{
    for (const char* text : {"12",    "12ab",      " 12",        "12.9",       "+12",    "1e3",   "0x10",         "010",
                             "-1",    "-63527",    "65535",      "x",          "65536",  "",      "-65536",       "-",
                             " ",     "\t7",       "1.5",        "-0",         "1E-3",   "1e",    ".5",           "5.",
                             "nan",   "infinity",  "inf",        "1e39",       "-1e39",  "1e-50", "3.4028235e38", "-5",
                             "7 mm",  "1,5",       "1.2.3",      "32768",      "-32769", "1e",    "1e+",          ".",
                             "0x1p3", "123456789", "2147483648", "-2147483649"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(Extract<std::int16_t>(text), Cast<std::int16_t>(text));
        EXPECT_EQ(Extract<std::uint16_t>(text), Cast<std::uint16_t>(text));
        EXPECT_EQ(Extract<std::int32_t>(text), Cast<std::int32_t>(text));
        EXPECT_EQ(Extract<std::uint32_t>(text), Cast<std::uint32_t>(text));
        EXPECT_EQ(Extract<float>(text), Cast<float>(text));
        EXPECT_EQ(Extract<double>(text), Cast<double>(text));
        EXPECT_EQ(Extract<std::int32_t>(text), Cast<long>(text)) << "of 32 bits";
        EXPECT_EQ(Extract<std::uint32_t>(text), Cast<unsigned long>(text));
    }
}

TEST(LexicalCast, WritesNumbersAsAStreamDoes)
{
    enum Pipe { control, bulkIn };
    EXPECT_EQ(lexical_cast<std::string>(bulkIn), "1");
    EXPECT_EQ(lexical_cast<std::string>(std::numeric_limits<std::int32_t>::min()), "-2147483648");
    EXPECT_EQ(lexical_cast<std::string>(std::uint32_t(4294967295)), "4294967295");
    EXPECT_EQ(lexical_cast<std::string>(std::uint16_t(65535)), "65535");

    for (const float value : {0.0F, -0.0F, 1.0F, 0.1F, 100.0F, 123456.0F, 1234567.0F, 1e-5F, 0.0001F, 95.047F, 1e20F,
                              1.17549435e-38F, 3.4028235e38F, INFINITY, -INFINITY, NAN, -NAN})
        EXPECT_EQ(Insert(value), lexical_cast<std::string>(value));

    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        const float value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        ASSERT_EQ(Insert(value), lexical_cast<std::string>(value));
    }
}

TEST(LexicalCast, IgnoresTheApplicationsLocale)
{
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaPunctuation));
    const auto read = Cast<float>(" 1.5");
    const auto tail = Cast<long>("1.234x");
    const std::string written = lexical_cast<std::string>(1234567) + " " + lexical_cast<std::string>(0.5F);
    std::locale::global(before);
    EXPECT_EQ(read, 1.5F);
    EXPECT_EQ(tail, 1);
    EXPECT_EQ(written, "1234567 0.5");
}

TEST(LexicalCast, NamesTextAndTypesInItsRefusal)
{
    try {
        lexical_cast<long>("x");
        FAIL();
    } catch (const std::invalid_argument& e) {
        EXPECT_STREQ(e.what(), "lexical_cast(): fail to convert 'x' from char const* to long");
    }
}

TEST(SmartPointer, DeletesThePointeeOnceWithItsLastOwner)
{
    int alive = 0;
    {
        SmartPointer<Counted> first(new CountedMore(alive));
        {
            SmartPointer<Counted> second(first);
            SmartPointer<Counted> third;
            third = second;
            const SmartPointer<Counted>& itself = third;
            third = itself;
            first = 0;
            EXPECT_FALSE(first.IsValid());
            EXPECT_EQ(alive, 1);
            first = third;
        }
        EXPECT_EQ(alive, 1);
        const SmartPointer<CountedMore> derived(new CountedMore(alive));
        first = derived;
        EXPECT_EQ(alive, 1);
        SmartPointer<Counted> moved(std::move(first));
        EXPECT_FALSE(first.IsValid());
        EXPECT_EQ(&*derived, &*moved);
        first = std::move(moved);
        EXPECT_EQ(&*derived, &*first);
        EXPECT_THROW(first = 5, std::invalid_argument);
        EXPECT_TRUE(first.IsValid());
    }
    EXPECT_EQ(alive, 0);
}

TEST(SmartPointer, RefusesToBeUsedWhileEmpty)
{
    const SmartPointer<std::string> empty(0);
    EXPECT_FALSE(empty.IsValid());
    try {
        empty->size();
        FAIL();
    } catch (const NullPointerException& e) {
        EXPECT_THAT(e.what(), testing::MatchesRegex("accessed null pointer \\(std::.*string.*\\)"));
        EXPECT_THAT(e.Trace(), testing::ElementsAre(testing::StartsWith("SmartPointer<T>::operator->(): Vondrel/")));
    }
    EXPECT_THROW(*empty, NullPointerException);
}
