#include "scan/scan_dialog.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTest>
#include <QTimer>

#include "scan/scan_event.h"
#include "tests/support/scratch.h"

// How the events of a scan reach its dialog.

namespace {

class Receiver : public ScanDialog {
public:
    std::vector<int> m_types;
    std::vector<int> m_numbers;  // the texts of the events that carry one
    std::function<void(int)> m_onEvent = [](int) {};

protected:
    void customEvent(QEvent* event) override {
        const ZqEvent* step = AsScanEvent(event);
        ASSERT_NE(step, nullptr);
        m_types.push_back(step->type());
        if (step->Text() != nullptr) {
            m_numbers.push_back(std::stoi(step->Text()));
        }
        m_onEvent(step->type());
    }
};

void PostNumbers(ScanDialog& dialog, int count) {
    for (int number = 0; number < count; ++number) {
        PostZqEvent(&dialog, kEvtScanningFile, std::to_string(number).c_str());
    }
}

std::vector<int> NumbersUpTo(int count) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::generate(numbers.begin(), numbers.end(), [next = 0]() mutable { return next++; });
    return numbers;
}

TEST(ScanDialog, EventsArriveInOrderAndLeaveTimeForOtherWork) {
    Receiver dialog;
    int otherWork = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        otherWork += dialog.m_numbers.empty() || dialog.m_numbers.size() >= 20000 ? 0 : 1;
    });
    timer.start(0);
    std::thread scan([&dialog] { PostNumbers(dialog, 20000); });
    EXPECT_TRUE(QTest::qWaitFor([&] { return dialog.m_numbers.size() == 20000; }, 30000));
    scan.join();
    EXPECT_EQ(dialog.m_numbers, NumbersUpTo(20000));
    EXPECT_GE(otherWork, 20);  // 20,000 events are at least 39 helpings
}

TEST(ScanDialog, ItsOwnThreadNeverWaitsForRoom) {
    Receiver dialog;
    PostNumbers(dialog, 2000);
    EXPECT_EQ(dialog.WaitingEvents(), 2000U);
    EXPECT_TRUE(QTest::qWaitFor([&] { return dialog.m_numbers.size() == 2000; }));
    EXPECT_EQ(dialog.m_numbers, NumbersUpTo(2000));
}

TEST(ScanDialog, AQuestionPassesAFullQueueAndHoldsNoEventUp) {
    Receiver dialog;
    QEventLoop answering;
    bool wasAsked = false;
    dialog.m_onEvent = [&](int type) {
        if (type == kEvtPrompt) {
            wasAsked = true;
            answering.exec();  // as a modal window does
            dialog.Run().Answer();
        } else if (wasAsked && dialog.m_numbers.size() == 5000) {
            answering.quit();
        }
    };
    // One thread has filled the queue and waits for room while the other one asks.
    std::thread counting([&dialog] { PostNumbers(dialog, 5000); });
    ASSERT_TRUE(WaitUntil([&] { return dialog.WaitingEvents() == EventQueue::kRoom; }));
    std::atomic<bool> isAnswered{false};
    std::thread scan([&] {
        dialog.Run().Ask({kEvtPrompt});
        isAnswered = true;
    });
    ASSERT_TRUE(WaitUntil([&] { return dialog.WaitingEvents() == EventQueue::kRoom + 1; }));
    EXPECT_TRUE(QTest::qWaitFor([&] { return isAnswered.load(); }, 30000));
    EXPECT_EQ(dialog.m_numbers, NumbersUpTo(5000));
    EXPECT_EQ(std::count(dialog.m_types.begin(), dialog.m_types.end(), kEvtPrompt), 1);
    counting.join();
    scan.join();
}

TEST(ScanDialog, ReceivesAgainAfterItHasBeenIdle) {
    Receiver dialog;
    for (std::size_t round = 1; round <= 50; ++round) {
        std::thread scan([&dialog] { PostZqEvent(&dialog, kEvtAdvance); });
        EXPECT_TRUE(QTest::qWaitFor([&] { return dialog.m_types.size() == round; })) << round;
        QCoreApplication::processEvents();  // and nothing is left to do
        scan.join();
    }
}

}  // namespace
