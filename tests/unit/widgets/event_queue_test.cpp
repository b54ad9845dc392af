#include "widgets/event_queue.h"

#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "common/text_field.h"
#include "tests/support/scratch.h"

namespace {

std::unique_ptr<ZqEvent> Event(int type = 1113) {
    return std::make_unique<ZqEvent>(type);
}

TEST(ZqEvent, CarriesAnOwnedTextOrARecord) {
    std::string text = "/a/b";
    const ZqEvent withText(1100, text.c_str());
    text = "gone";
    EXPECT_STREQ(withText.Text(), "/a/b");
    EXPECT_EQ(withText.type(), 1100);
    EXPECT_EQ(withText.Info().code, 0);
    EXPECT_EQ(withText.Info().fileName[0], '\0');
    EXPECT_EQ(withText.Record(), nullptr);

    tagZQFILEINFO info{};
    info.code = 1001;
    info.detectionClass = 4;
    info.detectionSubClass = 39;
    common::CopyToField(info.fileName, "/f");
    common::CopyToField(info.virusName, "V");
    const ZqEvent withRecord(1102, &info);
    info = {};
    EXPECT_EQ(withRecord.Text(), nullptr);
    EXPECT_EQ(withRecord.Info().code, 1001);
    EXPECT_EQ(withRecord.Info().detectionClass, 4);
    EXPECT_EQ(withRecord.Info().detectionSubClass, 39);
    EXPECT_STREQ(withRecord.Info().fileName, "/f");
    EXPECT_STREQ(withRecord.Info().virusName, "V");
    EXPECT_EQ(withRecord.Record(), &withRecord.Info());

    EXPECT_EQ(ZqEvent(1109, static_cast<const char*>(nullptr)).Text(), nullptr);
    EXPECT_EQ(ZqEvent(1102, static_cast<const tagZQFILEINFO*>(nullptr)).Info().code, 0);
}

TEST(ZqEvent, CarriesNothingButItsType) {
    const ZqEvent event(1116);
    EXPECT_EQ(event.type(), 1116);
    EXPECT_EQ(event.Text(), nullptr);
    EXPECT_EQ(event.Record(), nullptr);
}

TEST(ZqEvent, IsToldFromOtherEventsByItsTypeAndItsClass) {
    const ZqEvent first(1116);
    const ZqEvent last(1126);
    EXPECT_EQ(AsZqEvent(&first, 1116, 1126), &first);
    EXPECT_EQ(AsZqEvent(&last, 1116, 1126), &last);
    EXPECT_EQ(AsZqEvent(&first, 1117, 1126), nullptr);
    EXPECT_EQ(AsZqEvent(&last, 1116, 1125), nullptr);
    const QEvent other(static_cast<QEvent::Type>(1120));
    EXPECT_EQ(AsZqEvent(&other, 1116, 1126), nullptr);
}

TEST(EventQueue, WakesTheReceiverOnceForAllThatWait) {
    EventQueue queue;
    EXPECT_TRUE(queue.Put(Event(), true));
    EXPECT_FALSE(queue.Put(Event(), true));
    EXPECT_EQ(queue.TakeAll().size(), 2U);
    // It looks again before it sleeps, so it need not be woken yet.
    EXPECT_FALSE(queue.Put(Event(), true));
    EXPECT_EQ(queue.TakeAll().size(), 1U);
    EXPECT_EQ(queue.TakeAll().size(), 0U);
    EXPECT_TRUE(queue.Put(Event(), true));
}

TEST(EventQueue, KeepsTheOrder) {
    EventQueue queue;
    (void)queue.Put(Event(1108), true);
    (void)queue.Put(Event(1113), true);
    (void)queue.Put(Event(1109), true);
    const auto taken = queue.TakeAll();
    ASSERT_EQ(taken.size(), 3U);
    EXPECT_EQ(taken[0]->type(), 1108);
    EXPECT_EQ(taken[1]->type(), 1113);
    EXPECT_EQ(taken[2]->type(), 1109);
}

TEST(EventQueue, LetsThreadsWaitForRoom) {
    EventQueue queue;
    std::atomic<int> put{0};
    std::thread first([&] {
        for (int event = 0; event < 5000; ++event) {
            (void)queue.Put(Event(), true);
            ++put;
        }
    });
    std::thread second([&] {
        for (int event = 0; event < 5000; ++event) {
            (void)queue.Put(Event(), true);
            ++put;
        }
    });
    EXPECT_TRUE(WaitUntil([&] { return queue.Size() == EventQueue::kRoom; }));
    EXPECT_EQ(put, 512);
    // One that must not wait still gets in.
    (void)queue.Put(Event(), false);
    EXPECT_EQ(queue.Size(), 513U);
    std::size_t taken = 0;
    EXPECT_TRUE(WaitUntil([&] {
        const std::size_t some = queue.TakeAll().size();
        EXPECT_LE(some, 513U);
        taken += some;
        return taken == 10001;
    }));
    first.join();
    second.join();
}

TEST(EventQueue, ClosedItDropsEventsAndHoldsNobodyUp) {
    EventQueue queue;
    std::atomic<bool> through{false};
    std::thread poster([&] {
        for (int event = 0; event < 5000; ++event) {
            (void)queue.Put(Event(), true);
        }
        through = true;
    });
    EXPECT_TRUE(WaitUntil([&] { return queue.Size() == EventQueue::kRoom; }));
    EXPECT_FALSE(through);
    queue.Close();
    poster.join();
    EXPECT_EQ(queue.Size(), 0U);
    EXPECT_FALSE(queue.Put(Event(), true));
}

}  // namespace
