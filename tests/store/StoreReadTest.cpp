// The read side of the memory store: key lookups, class and pattern selection, the order, page, counter
// and mask options, and reads that fail or whose reader fails.
#include "StoreTesting.h"
#include "common/Trace.h"
#include "dml/CounterOptions.h"
#include "dml/Errors.h"
#include "dml/KeyPattern.h"
#include "dml/ObjectKey.h"
#include "por/TraitUtil.h"

#include <gtest/gtest.h>

namespace
{

using Host::Store::MemoryStore;
using Testing::MakeItem;
using Testing::Numbers;
using Testing::Report;

using Numbers_t = std::vector<std::uint32_t>;

// Items 1..5 with states 3, 1, 3, 2, 1 and names e, d, c, b, a; object 6 of another class.
class StoreReadTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const std::uint32_t states[] = {3, 1, 3, 2, 1};
        const char16_t* names[] = {u"e", u"d", u"c", u"b", u"a"};
        for (std::uint32_t id = 1; id <= 5; ++id)
        {
            ASSERT_EQ(Testing::Register(Store, MakeItem(id, states[id - 1], names[id - 1])).GetCode(), 0u);
        }
        ASSERT_EQ(Testing::Register(Store, Testing::MakeObject(6, u"Test::Other")).GetCode(), 0u);
    }

    MemoryStore Store;
};

TEST_F(StoreReadTest, KeyPatternsAreLookedUpAndOtherPatternsMatched)
{
    // A key pattern bears "ObjectID", which is no match operator: matching it would throw.
    EXPECT_EQ(Numbers(Report(Store, Dml::MakeKeyPatternFromValue(Testing::IdOf(4)))), Numbers_t{4});
    const Por::Unit item = MakeItem(2, 0);
    EXPECT_EQ(Numbers(Report(Store, Dml::MakeKeyPattern(Dml::GetObjectKey(item.Get())))), Numbers_t{2});
    EXPECT_TRUE(Report(Store, Dml::MakeKeyPatternFromValue(Testing::IdOf(9))).empty());

    EXPECT_EQ(Numbers(Report(Store, nullptr)), (Numbers_t{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(Numbers(Report(Store, Por::Unit().Result())), (Numbers_t{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(Numbers(Report(Store, Testing::ClassPattern(u"Test::Other"))), Numbers_t{6});
    EXPECT_EQ(Numbers(Report(Store, Testing::ClassPattern(u"Test::Base"))), (Numbers_t{1, 2, 3, 4, 5, 6}));
    EXPECT_TRUE(Report(Store, Testing::ClassPattern(u"Test::None")).empty());

    Por::Unit pattern = Por::Unit::Composite();
    pattern.AddTrait("Is", Por::Unit(u"Test::Item").Get());
    pattern["State"].SetDefault(0u).SetTrait("GreaterEqual", 2u);
    EXPECT_EQ(Numbers(Report(Store, pattern.Result())), (Numbers_t{1, 3, 4}));
}

// A field that holds the key of every object of the class is read as a lookup; once one object keeps its
// key elsewhere, the same pattern matches the class again and finds that object too.
TEST_F(StoreReadTest, AFieldHoldingEveryKeyOfTheClassIsALookupUntilAnObjectKeysElsewhere)
{
    const auto byField = [](const char* field, const Por::Unit& value)
    {
        Por::Unit pattern = Por::Unit::Composite();
        pattern.AddTrait("Is", Por::Unit(u"Test::Item").Get());
        pattern[field] = value.Get();
        return pattern.Result();
    };
    EXPECT_EQ(Numbers(Report(Store, byField("ID", Por::Unit(Testing::IdOf(4))))), Numbers_t{4});
    EXPECT_TRUE(Report(Store, byField("ID", Por::Unit(Testing::IdOf(6)))).empty()); // another class
    EXPECT_TRUE(Report(Store, byField("ID", Por::Unit(Testing::IdOf(9)))).empty());
    EXPECT_TRUE(Report(Store, byField("ID", Por::Unit(4u))).empty()); // a number is no guid

    // Keyed by "Code", with an "ID" that repeats item 4's and a name.
    Por::Unit other = Por::Unit::Composite();
    other.AddTrait("Is", Por::Unit(u"Test::Item").Get());
    other["Code"] = u"k7";
    other["Code"].AddTrait("PrimaryKey");
    other["ID"] = Testing::IdOf(4);
    other["Name"] = u"other";
    ASSERT_EQ(Testing::Register(Store, other).GetCode(), 0u);
    const std::vector<Por::ConstUnitPtr> both = Report(Store, byField("ID", Por::Unit(Testing::IdOf(4))));
    ASSERT_EQ(both.size(), 2u);
    EXPECT_EQ(Por::Util::GetValue<Common::WideString>(Por::Util::GetPropertyValue(*both[1], "Name")),
              u"other");
    EXPECT_EQ(Report(Store, byField("Code", Por::Unit(u"k7"))).size(), 1u);

    ASSERT_EQ(Testing::Unregister(Store, *Dml::MakeKeyPattern(Por::Unit(u"k7").Get())).GetCode(), 0u);
    EXPECT_EQ(Numbers(Report(Store, byField("ID", Por::Unit(Testing::IdOf(4))))), Numbers_t{4});
    // An operator on the field asks for more than its value: matched over the class.
    Por::Unit pattern = Por::Unit::Composite();
    pattern.AddTrait("Is", Por::Unit(u"Test::Item").Get());
    pattern["ID"].SetDefault(Common::Guid()).SetTrait("Not", Testing::IdOf(4));
    EXPECT_EQ(Numbers(Report(Store, pattern.Result())), (Numbers_t{1, 2, 3, 5}));
}

TEST_F(StoreReadTest, SortingThenPageThenReverseOrderTheReport)
{
    struct Case
    {
        const char* Keys; // property names, '-' before a descending one
        std::uint32_t Offset;
        std::uint32_t Limit;
        bool Reverse;
        Numbers_t Expected;
    };
    const Case cases[] = {
        {"", 0, 0xFFFFFFFF, false, {1, 2, 3, 4, 5}},
        {"State", 0, 0xFFFFFFFF, false, {2, 5, 4, 1, 3}}, // ties keep creation order
        {"-State", 0, 0xFFFFFFFF, false, {1, 3, 4, 2, 5}},
        {"State Name", 0, 0xFFFFFFFF, false, {5, 2, 4, 3, 1}},
        {"-State Name", 0, 0xFFFFFFFF, false, {3, 1, 4, 5, 2}},
        {"State Name", 1, 2, false, {2, 4}},
        {"State Name", 1, 2, true, {4, 2}},
        {"-State", 4, 10, false, {5}},
        {"Name", 7, 1, false, {}},
        {"Missing -State", 0, 2, false, {1, 3}}, // a value nobody has orders nothing
        {"", 0, 0, false, {}},
        {"", 0, 0xFFFFFFFF, true, {5, 4, 3, 2, 1}},
    };
    for (const Case& test : cases)
    {
        Por::Unit options = Por::Unit::Composite();
        std::string keys = test.Keys;
        for (std::size_t at = 0; at < keys.size();)
        {
            const std::size_t end = std::min(keys.find(' ', at), keys.size());
            const bool descending = keys[at] == '-';
            const std::string name = keys.substr(at + (descending ? 1 : 0), end - at - (descending ? 1 : 0));
            Por::Unit key = Por::Unit::Composite();
            key[name] = 0u;
            key[name].AddTrait(descending ? "Descending" : "Ascending ");
            options["SortingOptions"].PushBack(key.Get());
            at = end + 1;
        }
        if (test.Offset != 0)
        {
            options["OffsetOptions"] = test.Offset;
        }
        options["LimitOptions"] = test.Limit;
        if (test.Reverse)
        {
            options["ReverseReportOrder"] = true;
        }
        EXPECT_EQ(Numbers(Report(Store, Testing::ClassPattern(), options.Result())), test.Expected)
            << test.Keys << " " << test.Offset << " " << test.Limit;
    }
}

TEST_F(StoreReadTest, ACounterAnswersWithOneObjectOfTheCount)
{
    Por::Unit options = Por::Unit::Composite();
    Dml::Query::SetCounter(*options.GetRoot());
    Por::Unit pattern = Por::Unit::Composite();
    pattern["State"].SetDefault(0u).SetTrait("Less", 3u);
    const auto counted = Report(Store, pattern.Result(), options.Result());
    ASSERT_EQ(counted.size(), 1u);
    EXPECT_EQ(Dml::Query::GetCounterValue(*counted.front()), 3u);
    EXPECT_TRUE(Dml::HasObjectKey(*counted.front()));

    options["LimitOptions"] = 2u;
    EXPECT_EQ(Dml::Query::GetCounterValue(*Report(Store, pattern.Result(), options.Result()).front()), 2u);
    EXPECT_EQ(Dml::Query::GetCounterValue(
                  *Report(Store, Testing::ClassPattern(u"Test::None"), options.Result()).front()),
              0u);
}

TEST_F(StoreReadTest, AMaskShowsItsPropertiesAndAlwaysTheKeyAndTheRootTraits)
{
    Por::Unit options = Por::Unit::Composite();
    options["Mask"]["State"] = true;
    const auto masked = Report(Store, Dml::MakeKeyPatternFromValue(Testing::IdOf(1)), options.Result());
    ASSERT_EQ(masked.size(), 1u);
    EXPECT_NE(Por::Util::FindPropertyValue(*masked.front(), "State"), nullptr);
    EXPECT_EQ(Por::Util::FindPropertyValue(*masked.front(), "Name"), nullptr);
    EXPECT_EQ(Por::Util::FindPropertyValue(*masked.front(), "DmlTimeStamp"), nullptr);
    EXPECT_EQ(Testing::NumberOf(*masked.front()), 1u);
    EXPECT_TRUE(Por::Util::HasTrait(Dml::GetObjectKey(*masked.front()), "PrimaryKey"));
    EXPECT_TRUE(Por::Util::HasTraitWithValue(*masked.front(), "Is", Por::String(u"Test::Base")));

    // A key deep in the object shows beside the masked part of its composite.
    Por::Unit nested = Por::Unit::Composite();
    nested.AddTrait("Is", Por::Unit(u"Test::Nested").Get());
    nested["Header"]["Key"] = Testing::IdOf(7);
    nested["Header"]["Key"].AddTrait("PrimaryKey");
    nested["Header"]["Name"] = u"seven";
    nested["Body"] = 1u;
    ASSERT_EQ(Testing::Register(Store, nested).GetCode(), 0u);
    Por::Unit headerName = Por::Unit::Composite();
    headerName["Mask"]["Header"]["Name"] = true;
    const auto deep = Report(Store, Testing::ClassPattern(u"Test::Nested"), headerName.Result());
    ASSERT_EQ(deep.size(), 1u);
    const Por::View::Unit& header = Por::Util::GetPropertyValue(*deep.front(), "Header");
    EXPECT_NE(Por::Util::FindPropertyValue(header, "Name"), nullptr);
    EXPECT_NE(Por::Util::FindPropertyValue(header, "Key"), nullptr);
    EXPECT_EQ(Por::Util::FindPropertyValue(*deep.front(), "Body"), nullptr);
}

// The errors traced while alive.
struct TraceCapture
{
    TraceCapture()
    {
        Levels.clear();
        Common::RegisterTrace(Functions);
    }
    ~TraceCapture() { Common::UnregisterTrace(Functions); }
    static void Text(int, std::uint32_t, std::uint32_t, Common::WideStringView) {}
    static void Error(int level, const Common::Error&) { Levels.push_back(level); }
    static inline std::vector<int> Levels;
    Common::TraceFunctions Functions{&Text, nullptr, &Error};
};

struct ThrowingReader final : Dml::ReportReader
{
    using Dml::ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit& object) override
    {
        Seen.push_back(Testing::NumberOf(object));
        if (Seen.size() == 2)
        {
            throw Common::Error(COMMON_LOCATION("ThrowingReader"), 0x011A0001);
        }
    }
    Numbers_t Seen;
};

TEST_F(StoreReadTest, ABadReadFailsWithItsErrorAndAFailingReaderLosesOneObject)
{
    Testing::ResultHandler handler;
    Por::Unit unknown = Por::Unit::Composite();
    unknown["State"].SetDefault(0u).SetTrait("NoSuchOperator", 1u);
    auto reader = std::make_shared<Testing::CollectingReader>();
    Store.Report(Core::EntryPoint{}, Dml::ViewSpec{unknown.Result(), nullptr}, reader, handler);
    EXPECT_EQ(handler.Result.GetCode(), 0x00FA000Eu);

    Por::Unit badSorting = Por::Unit::Composite();
    badSorting["SortingOptions"].PushBack(1u);
    Store.Report(Core::EntryPoint{}, Dml::ViewSpec{nullptr, badSorting.Result()}, reader, handler);
    EXPECT_EQ(handler.Result.GetCode(), Dml::ErrorCodes::BadSortingSpec);
    Store.Report(Core::EntryPoint{}, Dml::ViewSpec{}, nullptr, handler);
    EXPECT_EQ(handler.Result.GetCode(), Dml::ErrorCodes::NullPointer);
    EXPECT_TRUE(reader->Objects.empty());

    TraceCapture traces;
    auto throwing = std::make_shared<ThrowingReader>();
    Store.Report(Core::EntryPoint{}, Dml::ViewSpec{Testing::ClassPattern(), nullptr}, throwing, handler);
    EXPECT_EQ(handler.Result.GetCode(), 0u);
    EXPECT_EQ(throwing->Seen, (Numbers_t{1, 2, 3, 4, 5}));
    EXPECT_EQ(TraceCapture::Levels, std::vector<int>{4});
}

} // namespace
