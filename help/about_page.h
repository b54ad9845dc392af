#pragma once

#include <memory>

#include <QWidget>

#include "abi/scanapi.h"

namespace Ui {
class AboutPage;
}

/// Which engine scans, how old its virus database is, and where the maker is found.
/// GUI thread only.
class AboutPage : public QWidget {
    Q_OBJECT

public:
    explicit AboutPage(QWidget* parent = nullptr);
    ~AboutPage() override;

    /// Shows the version of the engine and the date of its database; of a record that is all zero,
    /// as where no engine tells, that they are not known.
    void ShowVersion(const tagZQVERINFO& version);

    /// Starts the browser "mozilla" on the maker's web site and does not wait for it. A message
    /// when it cannot be started.
    void OpenWebSite();

signals:
    void UrlClicked();

protected:
    void changeEvent(QEvent* event) override;

private:
    void OpenInDesktopBrowser();
    void ShowValues();

    std::unique_ptr<Ui::AboutPage> m_ui;
    tagZQVERINFO m_version{};
};

/// What the page shows of a version: ":  17.00".
QString VersionText(const tagZQVERINFO& version);

/// What it shows of the date of the database, in the language of the current locale:
/// ":  21-November-2026". A date that is none is not known.
QString DatabaseDateText(const tagZQVERINFO& version);
