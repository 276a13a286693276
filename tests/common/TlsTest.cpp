#include "common/Tls.h"

#include "AssertCapture.h"
#include "common/Event.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Common::Tls;

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

TEST(TlsTest, TheOneCallbackRunsOnceWithTheValueTheThreadHasAtItsEnd)
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

    // A second callback asserts and the first stays.
    Testing::AssertCapture capture;
    Tls other;
    std::thread(
        [&]
        {
            other.Set(&first);
            other.SetCallback(RecordValue);
            other.SetCallback(RecordValueAgain);
        })
        .join();
    EXPECT_EQ(capture.Expressions(), std::vector<std::string>{"_Callback == 0"});
    EXPECT_EQ(TakeSeen(), std::vector<void*>{&first});
}

TEST(TlsTest, FreedIndexReusedByANewSlotStartsAtNullAndDropsOldCallbacks)
{
    TakeSeen();
    int value = 0;
    auto old = std::make_unique<Tls>();
    const Tls::Index index = old->GetIndex();

    Common::Event valueSet(true, false);
    Common::Event mayEnd(true, false);
    std::thread owner(
        [&]
        {
            old->Set(&value);
            old->SetCallback(RecordValue);
            valueSet.Set();
            mayEnd.Wait();
        });
    valueSet.Wait();
    old.reset();
    Tls reused;
    mayEnd.Set();
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

    Testing::AssertCapture capture;
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
