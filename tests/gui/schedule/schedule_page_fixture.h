#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QTreeWidget>

#include "schedule/schedule_page.h"
#include "tests/gui/schedule/wizard_fixture.h"

/// The schedule page over the fake scheduler, its buttons led to it as the main window leads them.
class SchedulePageTest : public WizardTest {
protected:
    void OpenPage() {
        m_page = std::make_unique<SchedulePage>();
        SchedulePage* page = m_page.get();
        QObject::connect(page, &SchedulePage::NewClicked, page, &SchedulePage::MakeScan);
        QObject::connect(page, &SchedulePage::EditClicked, page, &SchedulePage::ChangeSelected);
        QObject::connect(page, &SchedulePage::RemoveClicked, page, &SchedulePage::RemoveSelected);
        QObject::connect(page, &SchedulePage::RowDoubleClicked, page, &SchedulePage::ChangeRow);
        m_page->resize(700, 500);
        m_page->show();
        m_page->Fill();
    }
    template <typename Widget>
    Widget& OnPage(const char* name) {
        auto* widget = m_page->findChild<Widget*>(QLatin1String(name));
        if (widget == nullptr) {
            ADD_FAILURE() << "no " << name;
            std::abort();
        }
        return *widget;
    }
    void Press(const char* name) { OnPage<QAbstractButton>(name).click(); }
    QTreeWidget& List() { return *m_page->List(); }

    /// The rows, "name|frequency|folders" each.
    std::vector<std::string> ListRows() {
        std::vector<std::string> rows;
        for (int i = 0; i < List().topLevelItemCount(); ++i) {
            const QTreeWidgetItem* row = List().topLevelItem(i);
            rows.push_back((row->text(0) + "|" + row->text(1) + "|" + row->text(2)).toStdString());
        }
        return rows;
    }
    /// The name in the selected row, empty without one.
    std::string Selected() {
        const QList<QTreeWidgetItem*> selected = List().selectedItems();
        return selected.isEmpty() ? "" : selected.first()->text(0).toStdString();
    }
    void Select(int row) { List().setCurrentItem(List().topLevelItem(row)); }

    [[nodiscard]] std::pair<bool, bool> EditAndDelete() {
        return {OnPage<QWidget>("btnModsch").isEnabled(), OnPage<QWidget>("btnDelsch").isEnabled()};
    }
    static constexpr std::pair<bool, bool> kBoth{true, true};
    static constexpr std::pair<bool, bool> kNeither{false, false};

    /// A wizard that is finished or cancelled as soon as it is there.
    static void ExpectWizard(ModalDriver& user, const QString& name, bool isFinished) {
        user.Expect([=](QDialog* dialog) {
            auto* wizard = qobject_cast<dlgschedulescan*>(dialog);
            ASSERT_NE(wizard, nullptr);
            auto* edit = wizard->findChild<QLineEdit*>("edtScanName");
            if (edit->isEnabled()) {
                edit->setText(name);
            }
            EXPECT_EQ(edit->text(), name);
            if (isFinished) {
                wizard->next();
                wizard->next();
                wizard->button(QWizard::FinishButton)->click();
            } else {
                wizard->reject();
            }
        });
    }
    static void ExpectInformation(ModalDriver& user, const QString& text) {
        user.ExpectMessage(QMessageBox::Information, "Schedule Scan", text);
    }
    /// The question about removing, answered with a button of this text.
    static void ExpectQuestion(ModalDriver& user, const QString& button) {
        user.Expect([=](QDialog* dialog) {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            ASSERT_NE(box, nullptr);
            EXPECT_EQ(box->windowTitle(), "Schedule Scan");
            EXPECT_EQ(box->text(), "Do you want to  remove the Schedule Scan?");
            QStringList texts;
            QAbstractButton* chosen = nullptr;
            for (QAbstractButton* each : box->buttons()) {
                texts << each->text();
                chosen = each->text() == button ? each : chosen;
            }
            EXPECT_EQ(texts, (QStringList{"&Yes", "&No"}));
            ASSERT_NE(chosen, nullptr);
            chosen->click();
        });
    }

    std::unique_ptr<SchedulePage> m_page;
};
