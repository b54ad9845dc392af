#include "tests/gui/update/update_fixture.h"
#include "tests/support/failing_new.h"
#include "update/upd_thrd.h"

namespace {

TEST_F(UpdateTest, WithoutMemoryForItsThreadTheDialogIsNotShown) {
    Prepare("result 1\n");
    RecordingUpdate dialog;
    SetOutOfMemory(true);
    const int result = dialog.Myexec();
    SetOutOfMemory(false);
    EXPECT_EQ(result, -1);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(g_receiver.load(), nullptr);
    EXPECT_TRUE(m_updater.Calls().empty());
}

}  // namespace
