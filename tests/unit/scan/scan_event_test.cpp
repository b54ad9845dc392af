#include "scan/scan_event.h"

#include <gtest/gtest.h>

namespace {

TEST(ScanEvent, IsToldFromOtherEventsByItsType) {
    const ZqEvent first(1100);
    const ZqEvent last(1115);
    EXPECT_EQ(AsScanEvent(&first), &first);
    EXPECT_EQ(AsScanEvent(&last), &last);
    const ZqEvent before(1099);
    const ZqEvent behind(1116);
    EXPECT_EQ(AsScanEvent(&before), nullptr);
    EXPECT_EQ(AsScanEvent(&behind), nullptr);
}

TEST(ScanEvent, IsTheStepItWasMadeOf) {
    const ZqEvent withText(kEvtScanningFile, "/a/b");
    EXPECT_EQ(StepOf(withText).type, kEvtScanningFile);
    EXPECT_STREQ(StepOf(withText).text, "/a/b");
    EXPECT_EQ(StepOf(withText).info, nullptr);
    const tagZQFILEINFO info{};
    const ZqEvent withRecord(kEvtInfected, &info);
    EXPECT_EQ(StepOf(withRecord).type, kEvtInfected);
    EXPECT_EQ(StepOf(withRecord).text, nullptr);
    EXPECT_EQ(StepOf(withRecord).info, &withRecord.Info());
}

}  // namespace
