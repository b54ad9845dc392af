// The keys of every page and dialog, in both languages: none twice among what is seen together.

#include <map>

#include <QApplication>
#include <QLabel>
#include <QTranslator>

#include "common/run_state.h"
#include "common/text_field.h"
#include "kept/kept_copies_dialog.h"
#include "reports/dlg_report.h"
#include "scan/dlg_scn_prgrs.h"
#include "scan/dlg_vir_fnd.h"
#include "schedule/dlg_schedule_scan.h"
#include "tests/gui/app/window_fixture.h"
#include "update/dlg_int_set.h"
#include "update/dlg_update.h"
#include "widgets/dlg_dir.h"
#include "widgets/dlg_sc_dir.h"

namespace {

using ::testing::IsEmpty;

/// The keys of a window: what answers to each, and how each control writes its key.
class Keys {
public:
    explicit Keys(const QWidget& window) {
        for (const auto* button : window.findChildren<QAbstractButton*>()) {
            if (button->isVisibleTo(&window) && !button->shortcut().isEmpty()) {
                Add(*button, button->shortcut(), button->text());
            }
        }
        for (const auto* label : window.findChildren<QLabel*>()) {
            if (label->isVisibleTo(&window) && label->buddy() != nullptr) {
                Add(*label, QKeySequence::mnemonic(label->text()), label->text());
            }
        }
    }

    /// Keys with more than one control.
    [[nodiscard]] std::vector<std::string> Twice() const {
        std::vector<std::string> twice;
        for (const auto& [key, names] : m_names) {
            if (names.size() > 1) {
                twice.push_back((key + ": " + names.join(' ')).toStdString());
            }
        }
        return twice;
    }
    /// Controls that underline or explain another key than theirs.
    [[nodiscard]] const std::vector<std::string>& Misleading() const { return m_misleading; }
    [[nodiscard]] bool IsEmpty() const { return m_names.empty(); }

private:
    void Add(const QWidget& widget, const QKeySequence& key, const QString& text) {
        const QString name = key.toString(QKeySequence::PortableText);
        if (name.isEmpty()) {
            return;
        }
        m_names[name] << widget.objectName();
        const QKeySequence underlined = QKeySequence::mnemonic(text);
        const bool isMisunderlined = !underlined.isEmpty() && underlined != key;
        const bool isMisexplained =
            widget.toolTip().contains("(Alt+") && !widget.toolTip().contains("(" + name + ")");
        if (isMisunderlined || isMisexplained) {
            m_misleading.push_back(
                (widget.objectName() + ": " + text + ", " + widget.toolTip()).toStdString());
        }
    }

    std::map<QString, QStringList> m_names;
    std::vector<std::string> m_misleading;
};

class Mnemonics : public WindowTest, public ::testing::WithParamInterface<const char*> {
protected:
    void SetUp() override {
        WindowTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        ASSERT_TRUE(m_translator.load(QStringLiteral(CORVANE_TRANSLATIONS_DIR "zqscan_") +
                                      GetParam() + ".qm"));
        QApplication::installTranslator(&m_translator);
    }
    void TearDown() override {
        QApplication::removeTranslator(&m_translator);
        WindowTest::TearDown();
    }
    static void ExpectClear(const QWidget& window, const std::string& what) {
        const Keys keys(window);
        EXPECT_FALSE(keys.IsEmpty()) << what;
        EXPECT_THAT(keys.Twice(), IsEmpty()) << what;
        EXPECT_THAT(keys.Misleading(), IsEmpty()) << what;
    }

    QTranslator m_translator;
};

TEST_P(Mnemonics, OfEveryPage) {
    const dlgMain& window = Open();
    auto& pages = Find<QStackedWidget>("pages");
    for (int page = 0; page < pages.count(); ++page) {
        pages.setCurrentIndex(page);
        ExpectClear(window, pages.currentWidget()->objectName().toStdString());
    }
}

TEST_P(Mnemonics, OfEveryDialog) {
    const dlgVirFnd prompt;
    ExpectClear(prompt, "prompt");
    const dlgScnPrgrs progress;
    ExpectClear(progress, "progress");
    const dlgScDir picker;
    ExpectClear(picker, "folder picker");
    const dlgDir schedulePicker;
    ExpectClear(schedulePicker, "folder picker of the schedule");
    const dlgUpdate update;
    ExpectClear(update, "update");
    const dlgIntSet internet;
    ExpectClear(internet, "internet settings");
    const KeptCopiesDialog kept(nullptr, QStringLiteral("/bin/true"));
    ExpectClear(kept, "kept copies");
    Put("reports/scn1.log", "a report");
    common::CopyToField(g_szRptPath, PathOf("reports/scn1.log").string());
    g_siRptKind = kScheduledReports;  // the only kind whose list may be missing
    const dlgReport viewer(nullptr);
    ExpectClear(viewer, "viewer");
    g_siRptKind = kScanReports;
    g_szRptPath[0] = '\0';
}

TEST_P(Mnemonics, OfEveryPageOfTheWizard) {
    dlgschedulescan wizard;
    wizard.show();
    for (int page = 0; page < 3; ++page) {
        ASSERT_EQ(wizard.currentId(), page);
        ExpectClear(wizard, "page " + std::to_string(page));
        wizard.next();
    }
}

// With all that is shown of a scan that can be run and has a report.
TEST_P(Mnemonics, OfTheSchedulePageWithATask) {
    tagSCHEDULE_TASK_STATE state{};
    state.flags = kScheduleServiceRuns;
    m_scheduler->SetState(state);
    m_scheduler->AddTask("task", {});
    const dlgMain& window = Open();
    Click("btnSchedule");
    ASSERT_TRUE(Find<QWidget>("btnRunSch").isVisible());
    ExpectClear(window, "schedule page");
}

INSTANTIATE_TEST_SUITE_P(Languages, Mnemonics, ::testing::Values("en", "de"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
