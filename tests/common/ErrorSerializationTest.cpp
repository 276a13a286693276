#include "common/ErrorSerialization.h"

#include "AllocationCounter.h"
#include "common/Error.h"
#include "common/ErrorKind.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

using Common::Error;
using Bytes = std::vector<std::uint8_t>;

const Common::ErrorKind MixedKind("count,name,path,$module",
                                  {Common::ErrorParameter::Type::Number, Common::ErrorParameter::Type::String,
                                   Common::ErrorParameter::Type::WideString});

Bytes ToBytes(const Error& error)
{
    std::size_t size = 0;
    const auto blob = Common::Serialize(error, size);
    return Bytes(blob.get(), blob.get() + size);
}

Error Parse(const Bytes& bytes)
{
    return Common::Deserialize(bytes.data(), bytes.size());
}

// One record of code 0x00FA0005 and line tag 1 whose message and parameters are `body`.
Bytes RecordOf(const std::string& body)
{
    Bytes bytes = {0x01, 0x05, 0x00, 0xFA, 0x00, 1, 0, 0, 0, 0, 0, 0, 0};
    bytes.insert(bytes.end(), body.begin(), body.end());
    return bytes;
}

std::vector<Error> Records(const Error& error)
{
    std::vector<Error> records;
    for (Error record = error; record.GetCode() != 0; record = record.GetSubError())
    {
        records.push_back(record);
    }
    return records;
}

void ExpectSameRecord(const Error& parsed, const Error& original)
{
    EXPECT_EQ(parsed.GetCode(), original.GetCode());
    const Common::ErrorLocation a = parsed.GetLineTag();
    const Common::ErrorLocation b = original.GetLineTag();
    EXPECT_EQ(a.LineTag, b.LineTag);
    EXPECT_STREQ(a.File, b.File);
    EXPECT_STREQ(a.Function, b.Function);
    EXPECT_EQ(a.Line, b.Line);
    EXPECT_EQ(parsed.GetMessage(), original.GetMessage());
    EXPECT_STREQ(parsed.GetKeys(), original.GetKeys());
    EXPECT_STREQ(parsed.GetString("$module"), original.GetString("$module"));
}

// Three records of three kinds: parameters of all value types, a system record, located sites.
Error ThreeRecordChain()
{
    Error system =
        Error(COMMON_LOCATION("Inner::Function"), 0x00FC0003, u"inner \U0001F600").AddWindowsError(5);
    Error middle(COMMON_LOCATION("Middle::Function"), 0x00F90002, MixedKind, u"middle",
                 {42, "name", u"C:\\caf\u00e9"});
    middle.SetSubError(system);
    Error head(COMMON_LOCATION("Head::Function"), 0x011A003D, Common::TraceLevelErrorKind, u"head", {4});
    head.SetSubError(middle);
    return head;
}

TEST(ErrorSerializationTest, ChainRoundTripsRecordByRecord)
{
    const Error original = ThreeRecordChain();
    const Error parsed = Parse(ToBytes(original));
    const std::vector<Error> a = Records(parsed);
    const std::vector<Error> b = Records(original);
    ASSERT_EQ(a.size(), 4u);
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        SCOPED_TRACE(i);
        ExpectSameRecord(a[i], b[i]);
    }
    EXPECT_EQ(a[0].GetNumber("TraceLevel"), 4u);
    EXPECT_EQ(a[1].GetNumber("count"), 42u);
    EXPECT_STREQ(a[1].GetString("name"), "name");
    EXPECT_EQ(std::u16string(a[1].GetWideString("path")), u"C:\\caf\u00e9");
    EXPECT_EQ(a[1].GetString("count"), nullptr);
    EXPECT_EQ(a[1].GetNumber("name"), 0u);
    EXPECT_EQ(a[3].GetNumber("code"), 0x80070005u);
    EXPECT_EQ(a[3].GetMessage(), u"Access is denied");
    EXPECT_STREQ(a[0].GetString("$module"), "VeltrixTests/1.0.0");
    EXPECT_STREQ(a[3].GetString("$module"), "VeltrixCore/1.0.0");
    // The parsed chain serialises to the same bytes.
    EXPECT_EQ(ToBytes(parsed), ToBytes(original));
}

TEST(ErrorSerializationTest, RecordIsByteExactAndCarriesItsLocationOnlyWhereSet)
{
    const Error error(Common::ErrorLocation{0x0102030405060708ull, nullptr, nullptr, 0}, 0x00FA0021);
    Bytes expected = {0x01, 0x21, 0x00, 0xFA, 0x00, 0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01, 0x00};
    const std::string module("$module\0AVeltrixTests/1.0.0", 27);
    expected.insert(expected.end(), module.begin(), module.end());
    expected.insert(expected.end(), {0x00, 0x00});
    EXPECT_EQ(ToBytes(error), expected);

    // The location is written only where set.
    const Bytes bytes = ToBytes(Error(Common::ErrorLocation{1, "f.cpp", nullptr, 7}, 0x00FA0021, u"m"));
    const std::string text(bytes.begin(), bytes.end());
    EXPECT_NE(text.find(std::string("$file\0Af.cpp\0", 13)), std::string::npos);
    EXPECT_EQ(text.find("$func"), std::string::npos);
    const std::string line("$line\0N\x07\0\0\0\0\0\0\0\0", 16);
    EXPECT_EQ(text.substr(text.size() - line.size()), line);
}

TEST(ErrorSerializationTest, BlobCutAnywhereGivesTheCompleteRecordsBeforeTheCut)
{
    const Error original = ThreeRecordChain();
    const Bytes bytes = ToBytes(original);
    // Records are written one behind the other, so a record ends where the chain behind it begins.
    const std::vector<Error> records = Records(original);
    std::vector<std::size_t> ends;
    for (std::size_t i = 0; i < records.size(); ++i)
    {
        ends.push_back(bytes.size() - (i + 1 < records.size() ? ToBytes(records[i + 1]).size() - 1 : 0));
    }
    ASSERT_EQ(ends.back(), bytes.size());

    for (std::size_t cut = 0; cut <= bytes.size(); ++cut)
    {
        Bytes prefix(bytes.begin(), bytes.begin() + cut); // exact size: ASan sees any overread
        std::size_t complete = 0;
        while (complete < ends.size() && ends[complete] <= cut)
        {
            ++complete;
        }
        const Error parsed = Common::Deserialize(prefix.data(), prefix.size());
        ASSERT_EQ(Records(parsed).size(), complete) << "cut at " << cut;
    }
}

TEST(ErrorSerializationTest, ForeignVersionsZeroCodesAndMalformedRecordsEndTheParse)
{
    Bytes chain = ToBytes(ThreeRecordChain());
    EXPECT_EQ(Common::Deserialize(chain.data(), 0).GetCode(), 0u);
    EXPECT_EQ(Common::Deserialize(nullptr, 10).GetCode(), 0u);
    chain[0] = 2;
    EXPECT_EQ(Parse(chain).GetCode(), 0u);

    Error first(COMMON_LOCATION("A"), 0x00FA0001, u"first");
    Error second(COMMON_LOCATION("B"), 0x00FA0002, u"second");
    second.SetSubError(Error(COMMON_LOCATION("C"), 0x00FA0003));
    first.SetSubError(second);
    Bytes bytes = ToBytes(first);
    const std::uint8_t code[] = {0x02, 0x00, 0xFA, 0x00};
    const auto where = std::search(bytes.begin() + 1, bytes.end(), std::begin(code), std::end(code));
    ASSERT_NE(where, bytes.end());
    std::fill(where, where + 4, 0); // a zero code in the middle
    const Error parsed = Parse(bytes);
    ASSERT_EQ(Records(parsed).size(), 1u);
    EXPECT_EQ(parsed.GetMessage(), u"first");

    struct Case
    {
        const char* Name;
        std::string Body;
        std::size_t Records;
    };
    const Case cases[] = {
        {"valid", std::string("m\0k\0N12345678\0", 15), 1},
        {"unknown type", std::string("m\0k\0X12345678\0", 15), 0},
        {"short number", std::string("m\0k\0N1234", 9), 0},
        {"unterminated text value", std::string("m\0k\0Aabc", 8), 0},
        {"nothing behind key", std::string("m\0k\0", 4), 0},
        {"one byte behind key", std::string("m\0k\0A", 5), 0},
        {"no parameter end", std::string("m\0", 2), 0},
        {"overlong message", std::string("\xC0\x80\0\0", 4), 0},
        {"invalid message byte", std::string("\xFF\0\0", 3), 0},
        {"encoded lone surrogate accepted", std::string("\xED\xA0\x80\0\0", 5), 1},
        {"unterminated message", std::string("abc", 3), 0},
    };
    for (const Case& test : cases)
    {
        EXPECT_EQ(Records(Parse(RecordOf(test.Body))).size(), test.Records) << test.Name;
    }
    EXPECT_EQ(Parse(RecordOf(std::string("\xED\xA0\x80\0\0", 5))).GetMessage(), std::u16string(1, u'\xD800'));
}

TEST(ErrorSerializationTest, PseudoKeysWithOtherTypesAreOrdinaryParameters)
{
    const Error parsed = Parse(RecordOf(std::string("m\0$file\0N12345678$line\0Ax\0\0", 27)));
    ASSERT_EQ(parsed.GetCode(), 0x00FA0005u);
    EXPECT_STREQ(parsed.GetKeys(), "$file,$line");
    EXPECT_EQ(parsed.GetLineTag().File, nullptr);
    EXPECT_EQ(parsed.GetLineTag().Line, 0u);
    EXPECT_STREQ(parsed.GetString("$line"), "x");
}

TEST(ErrorSerializationTest, SerializeStopsAtCapacityAndReportsTheWholeSize)
{
    const Error error = ThreeRecordChain();
    const Bytes whole = ToBytes(error);
    for (std::size_t capacity : {std::size_t{0}, std::size_t{1}, std::size_t{13}, whole.size() - 1})
    {
        Bytes buffer(whole.size() + 8, 0xCC);
        EXPECT_EQ(Common::Serialize(error, buffer.data(), capacity), whole.size());
        EXPECT_TRUE(std::equal(whole.begin(), whole.begin() + capacity, buffer.begin()));
        EXPECT_TRUE(
            std::all_of(buffer.begin() + capacity, buffer.end(), [](std::uint8_t b) { return b == 0xCC; }));
    }
    EXPECT_EQ(Common::Serialize(Common::Success, nullptr, 0), 0u);
}

TEST(ErrorSerializationTest, DeepCopySharesNothingAndInternsNames)
{
    const Error original = ThreeRecordChain();
    const Error first = Common::DeepCopy(original);
    const Error second = Common::DeepCopy(original);
    ExpectSameRecord(first, original);
    EXPECT_NE(first.GetLineTag().File, original.GetLineTag().File);
    EXPECT_EQ(first.GetLineTag().File, second.GetLineTag().File);
    EXPECT_EQ(first.GetLineTag().Function, second.GetLineTag().Function);
    EXPECT_EQ(Common::DeepCopy(Common::Success).GetCode(), 0u);
}

TEST(ErrorSerializationTest, ParseUnderMemoryFailureKeepsWhatIsComplete)
{
    SKIP_WITHOUT_ALLOCATION_HOOKS();
    const Bytes bytes = ToBytes(ThreeRecordChain());
    for (std::size_t successes = 0; successes < 64; ++successes)
    {
        Error parsed;
        {
            Testing::AllocationCounter counter;
            counter.FailAfter(successes);
            parsed = Parse(bytes);
        }
        EXPECT_LE(Records(parsed).size(), 4u);
    }
}

} // namespace
