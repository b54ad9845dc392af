#include "scan/dlg_vir_fnd.h"

#include <string>

#include <QStyle>

#include "ui_dlg_vir_fnd.h"

#include "common/run_state.h"
#include "common/text_field.h"
#include "widgets/display_name.h"
#include "widgets/whats_this_key.h"

namespace {

constexpr int kFileNameWidth = 32;
constexpr int kFirstItem = 0;
constexpr int kLastItem = 3;
constexpr int kPresetItem = 1;  // for a choice that is no item

}  // namespace

dlgVirFnd::dlgVirFnd(QWidget* parent, const char* name, bool modal, Qt::WindowFlags flags)
    : QDialog(parent, flags), m_ui(std::make_unique<Ui::dlgVirFnd>()) {
    m_ui->setupUi(this);
    ExplainOnF1(*this);
    if (name != nullptr) {
        setObjectName(QString::fromUtf8(name));
    }
    setModal(modal);
    const int iconSize = style()->pixelMetric(QStyle::PM_LargeIconSize, nullptr, this);
    m_ui->iconLabel->setPixmap(
        style()->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, this).pixmap(iconSize));
    connect(m_ui->btnOk, &QPushButton::clicked, this, &dlgVirFnd::OnOkClicked);
    connect(m_ui->btnCancel, &QPushButton::clicked, this, &dlgVirFnd::OnCancelClicked);
    connect(m_ui->actionCombo, &QComboBox::activated, this, &dlgVirFnd::actionSelected);
    m_ui->actionCombo->setFocus();  // not the first of the names, which take the focus too
    init();
}

dlgVirFnd::~dlgVirFnd() = default;

void dlgVirFnd::init() {
    g_myScnopts.applyToAll = 0;
    g_myScnopts.choice = static_cast<std::uint16_t>(g_scnActn);
    const bool isItem = g_scnActn >= kFirstItem && g_scnActn <= kLastItem;
    m_ui->actionCombo->setCurrentIndex(isItem ? g_scnActn : kPresetItem);
    if (g_zqFileInfo != nullptr) {
        const std::string fileName(common::FieldText(g_zqFileInfo->fileName));
        m_ui->fileNameLabel->SetName(ShortDisplayPath(fileName.c_str(), kFileNameWidth),
                                     DisplayName(fileName));
        const QString virusName = DisplayName(common::FieldText(g_zqFileInfo->virusName));
        m_ui->virusNameLabel->SetName(virusName, virusName);
    }
}

void dlgVirFnd::actionSelected() {
    const int item = m_ui->actionCombo->currentIndex();
    if (item >= kFirstItem && item <= kLastItem) {
        g_myScnopts.choice = static_cast<std::uint16_t>(item);
    }
    g_scnActn = item;
}

void dlgVirFnd::OnOkClicked() {
    if (m_ui->applyToAllCheck->isChecked()) {
        g_myScnopts.applyToAll = 1;
    }
    actionSelected();
    accept();
}

void dlgVirFnd::OnCancelClicked() {
    reject();
}
