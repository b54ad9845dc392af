// "zqupdate.opt" as the update page reads and writes it.

#include "update/files/update_options.h"

#include "tests/support/no_room.h"
#include "tests/unit/update/files/option_fixture.h"

namespace {

constexpr char kFile[] = "zqupdate.opt";

class UpdateOptions : public OptionFixture {};

TEST_F(UpdateOptions, ThePageMakesAMissingFileWithoutAutomaticUpdates) {
    const tagUpdtOpts options = update::LoadUpdateOptions();
    EXPECT_EQ(options.flags, 0x8U);
    EXPECT_EQ(Get(kFile), Padded(Hex("08000000 01000000"), 520));
    EXPECT_EQ(Mode(kFile), 0666U);
}

TEST_F(UpdateOptions, StartUpMakesItWithThem) {
    EXPECT_EQ(update::LoadUpdateOptionsAtStart().flags, 0x9U);
    EXPECT_EQ(Get(kFile), Padded(Hex("09000000 01000000"), 520));
    EXPECT_EQ(update::LoadUpdateOptions().flags, 0x9U) << "who comes second changes nothing";
}

TEST_F(UpdateOptions, AreReadWholeAndShared) {
    Put(kFile,
        Hex("04000000 07000000") + Padded("/srv/updates", 256) + Padded("/srv/old", 256) + "more");
    const tagUpdtOpts options = update::LoadUpdateOptions();
    EXPECT_EQ(options.flags, 4U);
    EXPECT_EQ(options.reserved, 7U);
    EXPECT_STREQ(options.path, "/srv/updates");
    EXPECT_STREQ(options.backupFolder, "/srv/old");
    EXPECT_EQ(Mode(kFile), 0666U);
}

TEST_F(UpdateOptions, AShortFileLeavesZeros) {
    Put(kFile, Hex("02"));
    tagUpdtOpts options = update::LoadUpdateOptions();
    EXPECT_EQ(options.flags, 2U);
    EXPECT_EQ(options.reserved, 0U);
    Put(kFile, "");
    options = update::LoadUpdateOptions();
    EXPECT_EQ(options.flags, 0U);
    EXPECT_EQ(Get(kFile), "");
}

TEST_F(UpdateOptions, AreWrittenOverTheStartOfTheFile) {
    Put(kFile, std::string(525, 'x'));
    tagUpdtOpts options{0x5, 1, {}, {}};
    common::CopyToField(options.path, "/p");
    common::CopyToField(options.backupFolder, "/b");
    EXPECT_EQ(update::WriteUpdateOptions(options), common::FileOutcome::kDone);
    EXPECT_EQ(Get(kFile),
              Hex("05000000 01000000") + Padded("/p", 256) + Padded("/b", 256) + "xxxxx");
    EXPECT_EQ(Mode(kFile), 0666U);
}

TEST_F(UpdateOptions, WritingNeverMakesTheFile) {
    EXPECT_EQ(update::WriteUpdateOptions({}), common::FileOutcome::kNotOpened);
    EXPECT_FALSE(Exists(m_scratch / kFile));
}

TEST_F(UpdateOptions, AFullDiskIsTold) {
    Put(kFile, Padded("old", 520));
    const NoRoom none;
    EXPECT_EQ(update::WriteUpdateOptions({}), common::FileOutcome::kFailed);
    EXPECT_EQ(Get(kFile), Padded("old", 520));
    EXPECT_EQ(Mode(kFile), 0666U) << "shared after a failed write, too";
}

TEST_F(UpdateOptions, ThatCanOnlyBeReadAreReadAndNotWritten) {
    Put(kFile, Hex("02000000"), 0400);
    EXPECT_EQ(AsOwner([] {
                  return update::WriteUpdateOptions({}) == common::FileOutcome::kNotOpened ? 0 : 1;
              }),
              0);
    EXPECT_EQ(Mode(kFile), 0400U);
    EXPECT_EQ(AsOwner([] { return static_cast<int>(update::LoadUpdateOptions().flags); }), 2);
    EXPECT_EQ(Get(kFile), Hex("02000000"));
}

TEST_F(UpdateOptions, ThatCannotBeReadGiveTheDefaultAndAreShared) {
    Put(kFile, Hex("02000000"), 0);
    EXPECT_EQ(AsOwner([] { return static_cast<int>(update::LoadUpdateOptions().flags); }), 8);
    EXPECT_EQ(Mode(kFile), 0666U) << "the owner opens it the next time";
    EXPECT_EQ(Get(kFile), Hex("02000000"));
}

TEST_F(UpdateOptions, ALinkIsNotFollowedWhereOthersMayWrite) {
    ::chmod(m_scratch.Path().c_str(), 0777);
    Put("secret", Hex("02000000"));
    std::filesystem::create_symlink("secret", m_scratch / kFile);
    EXPECT_EQ(update::LoadUpdateOptions().flags, 8U);
    EXPECT_EQ(update::WriteUpdateOptions({}), common::FileOutcome::kNotOpened);
    EXPECT_EQ(Get("secret"), Hex("02000000"));
    EXPECT_EQ(Mode("secret"), 0600U);
}

TEST_F(UpdateOptions, AFifoIsNotWaitedFor) {
    ASSERT_EQ(::mkfifo((m_scratch / kFile).c_str(), 0600), 0);
    EXPECT_EQ(update::LoadUpdateOptions().flags, 8U);
    EXPECT_EQ(update::WriteUpdateOptions({}), common::FileOutcome::kNotOpened);
    EXPECT_EQ(Mode(kFile), 0600U);
}

}  // namespace
