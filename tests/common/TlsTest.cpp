#include "common/Tls.h"

#include "common/SafeAssert.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Common::Tls;

std::mutex ReportsLock;
std::vector<std::string> Reports;

void RecordReport(int, int, int, const char* text)
{
    std::lock_guard<std::mutex> guard(ReportsLock);
    Reports.emplace_back(text);
}

// Safe-assert reports while alive, as their expressions.
class AssertCapture
{
public:
    AssertCapture()
    {
        Common::Detail::InitialiseSafeAssertForTesting();
        SavedFlags = Common::GetSafeAssertFlags();
        Common::SetSafeAssertFlags(Common::SafeAssertEvent);
        Common::SetSafeAssertEventHook(RecordReport);
        std::lock_guard<std::mutex> guard(ReportsLock);
        Reports.clear();
    }
    ~AssertCapture()
    {
        Common::SetSafeAssertEventHook(nullptr);
        Common::SetSafeAssertFlags(SavedFlags);
    }
    std::vector<std::string> Expressions() const
    {
        std::lock_guard<std::mutex> guard(ReportsLock);
        std::vector<std::string> expressions;
        for (const std::string& report : Reports)
        {
            const std::string prefix = "Assertion failed: ";
            expressions.push_back(report.substr(prefix.size(), report.rfind(", file ") - prefix.size()));
        }
        return expressions;
    }

private:
    std::uint32_t SavedFlags = 0;
};

// What the callbacks saw; callbacks are plain functions.
std::mutex SeenLock;
std::vector<void*> Seen;

void RecordValue(void* value)
{
    std::lock_guard<std::mutex> guard(SeenLock);
    Seen.push_back(value);
}

void RecordValueAgain(void* value)
{
    RecordValue(value);
    RecordValue(value);
}

std::vector<void*> TakeSeen()
{
    std::lock_guard<std::mutex> guard(SeenLock);
    return std::exchange(Seen, {});
}

TEST(TlsTest, EachThreadSeesItsOwnValueStartingAtNull)
{
    Tls slot;
    ASSERT_NE(slot.GetIndex(), Tls::OUT_OF_INDEXES);
    int mine = 0;
    int theirs = 0;
    slot.Set(&mine);
    void* seenFirst = &mine;
    std::thread(
        [&]
        {
            seenFirst = slot.Get();
            slot.Set(&theirs);
            EXPECT_EQ(slot.Get(), &theirs);
        })
        .join();
    EXPECT_EQ(seenFirst, nullptr);
    EXPECT_EQ(slot.Get(), &mine);
}

TEST(TlsTest, CallbackRunsOnceWithTheValueTheThreadHasAtItsEnd)
{
    TakeSeen();
    Tls slot;
    int first = 0;
    int last = 0;
    std::thread(
        [&]
        {
            slot.Set(&first);
            slot.SetCallback(RecordValue);
            slot.Set(&last);
        })
        .join();
    EXPECT_EQ(TakeSeen(), std::vector<void*>{&last});

    std::thread(
        [&]
        {
            slot.SetCallback(RecordValue);
            slot.Set(nullptr);
        })
        .join();
    EXPECT_TRUE(TakeSeen().empty());
}

TEST(TlsTest, SecondCallbackAssertsAndTheFirstStays)
{
    TakeSeen();
    AssertCapture capture;
    Tls slot;
    int value = 0;
    std::thread(
        [&]
        {
            slot.Set(&value);
            slot.SetCallback(RecordValue);
            slot.SetCallback(RecordValueAgain);
        })
        .join();
    EXPECT_EQ(capture.Expressions(), std::vector<std::string>{"_Callback == 0"});
    EXPECT_EQ(TakeSeen(), std::vector<void*>{&value});
}

TEST(TlsTest, FreedIndexReusedByANewSlotStartsAtNullAndDropsOldCallbacks)
{
    TakeSeen();
    int value = 0;
    auto old = std::make_unique<Tls>();
    const Tls::Index index = old->GetIndex();

    std::atomic<bool> valueSet{false};
    std::atomic<bool> mayEnd{false};
    std::thread owner([&] {
        old->Set(&value);
        old->SetCallback(RecordValue);
        valueSet.store(true);
        while (!mayEnd.load())
        {
            std::this_thread::yield();
        }
    });
    while (!valueSet.load())
    {
        std::this_thread::yield();
    }
    old.reset();
    Tls reused;
    mayEnd.store(true);
    owner.join();

    EXPECT_EQ(reused.GetIndex(), index);
    EXPECT_EQ(reused.Get(), nullptr);
    EXPECT_TRUE(TakeSeen().empty());
}

TEST(TlsTest, ExhaustedIndexesGiveOutOfIndexesWhoseAccessAsserts)
{
    std::vector<std::unique_ptr<Tls>> slots;
    while (slots.size() <= Tls::MaximumIndexes)
    {
        slots.push_back(std::make_unique<Tls>());
        if (slots.back()->GetIndex() == Tls::OUT_OF_INDEXES)
        {
            break;
        }
    }
    Tls& none = *slots.back();
    ASSERT_EQ(none.GetIndex(), Tls::OUT_OF_INDEXES);

    AssertCapture capture;
    int value = 0;
    none.Set(&value);
    none.SetCallback(RecordValue);
    EXPECT_EQ(none.Get(), nullptr);
    const std::string text = "key != Common::Tls::OUT_OF_INDEXES";
    EXPECT_EQ(capture.Expressions(), (std::vector<std::string>{text, text, text}));

    slots.pop_back();
    slots.pop_back();
    EXPECT_NE(Tls().GetIndex(), Tls::OUT_OF_INDEXES);
}

} // namespace
