// Scans of the home folder, of the computer, and of what is dropped on the window.

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>

#include "kept/kept_copies_dialog.h"
#include "tests/gui/app/scan_start_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

class ScanPlaces : public ScanStart {
protected:
    void TearDown() override {
        qunsetenv("HOME");
        if (m_home.has_value()) {
            qputenv("HOME", *m_home);
        }
        ScanStart::TearDown();
    }
    void SetHome(const std::filesystem::path& home) {
        if (!m_home) {
            m_home = qgetenv("HOME");
        }
        qputenv("HOME", home.c_str());
    }

    /// Drops places on the window as another program would.
    bool Drop(const QList<QUrl>& places) {
        QMimeData data;
        data.setUrls(places);
        QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(m_window.get(), &enter);
        if (!enter.isAccepted()) {
            return false;
        }
        QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(m_window.get(), &drop);
        EXPECT_TRUE(drop.isAccepted());
        QApplication::processEvents();
        return true;
    }
    static QUrl Local(const std::filesystem::path& path) {
        return QUrl::fromLocalFile(QFile::decodeName(path.c_str()));
    }
    std::vector<std::string> OpenedNames() const {
        std::vector<std::string> names;
        for (const std::string& file : Opened()) {
            names.push_back(file.substr(0, file.find(' ')));
        }
        return names;
    }

    std::optional<QByteArray> m_home;
};

TEST_F(ScanPlaces, TheHomeFolderIsScannedByOneClick) {
    SetHome(m_sample);
    Open();
    LeaveTraces();
    ModalDriver user;
    ExpectScan(user);
    Click("btnScnHome");
    ExpectPrepared();
    EXPECT_THAT(OpenedNames(),
                UnorderedElementsAre("/corvane-sample/one", "/corvane-sample/sub/two"));
    EXPECT_STREQ(IndexRecords().substr(30, 256).c_str(), "/corvane-sample");
    EXPECT_EQ(std::filesystem::file_size(m_folder / "reports" / "CmplScn.dat"), 16U);
    EXPECT_EQ(g_pPLstHead, nullptr);
    EXPECT_EQ(g_pRptObj, nullptr);
}

TEST_F(ScanPlaces, AHomeFolderWithTooLongANameIsRefused) {
    SetHome("/" + std::string(255, 'h'));
    Open();
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Warning, "Corvane Scan",
                       "The name of the file\n/" + QString(255, 'h') +
                           "\nis longer than 255 bytes. Nothing was scanned; to scan it, scan a "
                           "folder above it.");
    Click("btnScnHome");
    ExpectNothingScanned();
}

// Stopped soon: it scans the machine that the tests run on.
TEST_F(ScanPlaces, TheComputerIsScannedFromItsRoot) {
    Open();
    ModalDriver user;
    user.Expect([](QDialog* dialog) {
        auto* progress = qobject_cast<dlgScnPrgrs*>(dialog);
        ASSERT_NE(progress, nullptr);
        progress->m_stop.Set();
        progress->Run().Abandon();
        auto* close = dialog->findChild<QPushButton*>("btnClose");
        EXPECT_TRUE(QTest::qWaitFor([close] { return close->isEnabled(); }, 60000));
        close->click();
    });
    Click("btnScnComputer");
    EXPECT_STREQ(IndexRecords().substr(30, 256).c_str(), "/");
    for (const std::string& name : OpenedNames()) {
        EXPECT_THAT(name, ::testing::Not(StartsWith("/proc/")));
    }
}

TEST_F(ScanPlaces, FilesAndFoldersThatAreDroppedAreScannedAlike) {
    Open();
    LeaveTraces();
    ModalDriver user;
    ExpectScan(user);
    ASSERT_TRUE(Drop({Local(m_sample / "one"), Local(m_sample / "sub")}));
    ExpectPrepared();
    EXPECT_THAT(OpenedNames(), ElementsAre("/corvane-sample/one", "/corvane-sample/sub/two"));
    EXPECT_EQ(g_uiTotCnt, 2U);
    EXPECT_EQ(g_pPLstHead, nullptr);
}

TEST_F(ScanPlaces, WhatCannotBeScannedIsNamedAndTheRestIsScanned) {
    Open();
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Warning, "Corvane Scan",
                       "Not scanned, because it is no file or folder of this computer that can be "
                       "reached by a name of at most 255 bytes:\n"
                       "http://example.org/x\n/corvane-sample/gone\n/" +
                           QString(255, 'n'));
    ExpectScan(user);
    ASSERT_TRUE(Drop({QUrl("http://example.org/x"), Local(m_sample / "gone"),
                      Local("/" + std::string(255, 'n')), Local(m_sample / "one")}));
    EXPECT_THAT(OpenedNames(), ElementsAre("/corvane-sample/one"));
}

TEST_F(ScanPlaces, OfManyThatCannotBeScannedTenAreNamed) {
    Open();
    ModalDriver user;
    QList<QUrl> places;
    QString named =
        "Not scanned, because it is no file or folder of this computer that can be "
        "reached by a name of at most 255 bytes:";
    for (int i = 0; i < 11; ++i) {
        places << QUrl("/none" + QString::number(i));
        places.back().setScheme("file");
        named += i < 10 ? "\n/none" + QString::number(i) : "\n...";
    }
    user.ExpectMessage(QMessageBox::Warning, "Corvane Scan", named);
    ASSERT_TRUE(Drop(places));
    ExpectNothingScanned();
}

TEST_F(ScanPlaces, NamesThatAreNoTextAreScannedByTheirBytes) {
    const std::filesystem::path odd = m_sample / "a\xE9%20<b>";
    std::ofstream(odd) << "x";
    Open();
    ModalDriver user;
    // The toolkit's names of files are text: what is none cannot be reached through them.
    user.Expect([](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        EXPECT_TRUE(box->text().startsWith("Not scanned"));
        EXPECT_EQ(box->textFormat(), Qt::PlainText);
        box->accept();
    });
    ASSERT_TRUE(Drop({Local(odd)}));
    ExpectNothingScanned();
}

TEST_F(ScanPlaces, WhatIsNoPlaceIsNotTaken) {
    Open();
    QMimeData text;
    text.setText("/corvane-sample/one");
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &text, Qt::LeftButton, {});
    QApplication::sendEvent(m_window.get(), &enter);
    EXPECT_FALSE(enter.isAccepted());
    ExpectNothingScanned();
}

// No package is installed in the sandbox: the window says so, before or after it is seen.
TEST_F(ScanPlaces, TheKeptCopiesAreOneClickAway) {
    Open();
    ModalDriver user;
    bool isSeen = false;
    const ModalDriver::Answer look = [&isSeen](QDialog* dialog) {
        if (auto* box = qobject_cast<QMessageBox*>(dialog)) {
            EXPECT_EQ(box->windowTitle(), "Kept copies");
            box->accept();
            return;
        }
        ASSERT_NE(qobject_cast<KeptCopiesDialog*>(dialog), nullptr);
        isSeen = true;
        const auto* state = dialog->findChild<QLabel*>("lblState");
        EXPECT_TRUE(QTest::qWaitFor([state] { return state->text() != "One moment..."; }, 30000));
        dialog->reject();
    };
    user.Expect(look);
    user.Expect(look);
    Click("btnKept");
    EXPECT_TRUE(isSeen);
}

TEST_F(ScanPlaces, TheOverviewFollowsAScan) {
    SetHome(m_sample);
    Open();
    EXPECT_EQ(Find<QLabel>("lblLastScan").text(), "Last scan: none yet");
    ModalDriver user;
    ExpectScan(user);
    Click("btnScnHome");
    EXPECT_TRUE(Find<QLabel>("lblLastScan").text().endsWith(", nothing found"))
        << Find<QLabel>("lblLastScan").text().toStdString();
}

TEST_F(ScanPlaces, TheOverviewLeadsToThePages) {
    Open();
    Click("btnLastScan");
    EXPECT_EQ(CurrentPage(), dlgMain::kReportsPage);
    Click("btnNextScan");
    EXPECT_EQ(CurrentPage(), dlgMain::kSchedulePage);
    Click("btnUpdates");
    EXPECT_EQ(CurrentPage(), dlgMain::kUpdatePage);
    Click("btnScan");
    Click("btnDefinitions");
    EXPECT_EQ(CurrentPage(), dlgMain::kUpdatePage);
}

}  // namespace
