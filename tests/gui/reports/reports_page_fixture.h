#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QTreeWidget>

#include "reports/reports_page.h"
#include "tests/gui/reports/report_fixture.h"
#include "tests/support/find_widget.h"

using Names = std::vector<std::string>;

/// The page over indexes and reports of the test's own.
class ReportsPageTest : public ReportFixture {
protected:
    template <typename Widget>
    Widget* Find(const char* name) {
        return FindWidget<Widget>(m_page, name);
    }

    Names Rows(int column = 2) {
        Names rows;
        const QTreeWidget* list = m_page.List();
        for (int i = 0; i < list->topLevelItemCount(); ++i) {
            rows.push_back(list->topLevelItem(i)->text(column).toStdString());
        }
        return rows;
    }

    void Select(int row) { m_page.List()->setCurrentItem(m_page.List()->topLevelItem(row)); }

    std::string Selected() {
        const auto selected = m_page.List()->selectedItems();
        return selected.isEmpty() ? "" : selected.first()->text(2).toStdString();
    }

    bool ButtonsEnabled() {
        const bool canDelete = Find<QPushButton>("btnDelRpt")->isEnabled();
        EXPECT_EQ(Find<QPushButton>("btnShwRpt")->isEnabled(), canDelete);
        return canDelete;
    }

    // What the page says instead of a list, empty when it shows the list.
    std::string EmptyText() {
        const auto* stack = Find<QStackedWidget>("listOrEmpty");
        return stack->currentWidget() == m_page.List()
                   ? ""
                   : Find<QLabel>("lblEmpty")->text().toStdString();
    }

    ReportsPage m_page;
};
