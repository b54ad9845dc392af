#include "reports/find_bar.h"

#include <algorithm>

#include <QEvent>
#include <QKeyEvent>
#include <QStringMatcher>
#include <QTextCursor>

#include "ui_find_bar.h"

#include "reports/report_view.h"

namespace {

// A pause in the typing, after which the text is searched.
constexpr int kPauseMilliseconds = 120;

}  // namespace

FindBar::FindBar(ReportView* view, QWidget* parent)
    : QWidget(parent), m_ui(std::make_unique<Ui::FindBar>()), m_view(view) {
    m_ui->setupUi(this);
    m_pause.setSingleShot(true);
    m_pause.setInterval(kPauseMilliseconds);
    connect(m_ui->edtFind, &QLineEdit::textChanged, &m_pause, qOverload<>(&QTimer::start));
    connect(&m_pause, &QTimer::timeout, this, &FindBar::CountAndShowFirst);
    connect(m_ui->btnFindNext, &QToolButton::clicked, this, &FindBar::FindNext);
    connect(m_ui->btnFindPrev, &QToolButton::clicked, this, &FindBar::FindPrevious);
    connect(m_ui->btnFindClose, &QToolButton::clicked, this, &FindBar::Close);
    hide();
}

FindBar::~FindBar() = default;

void FindBar::TabBetween(QWidget* before, QWidget* after) {
    setTabOrder(before, m_ui->edtFind);
    setTabOrder(m_ui->edtFind, m_ui->btnFindPrev);
    setTabOrder(m_ui->btnFindPrev, m_ui->btnFindNext);
    setTabOrder(m_ui->btnFindNext, m_ui->btnFindClose);
    setTabOrder(m_ui->btnFindClose, after);
}

void FindBar::Open() {
    show();
    m_ui->edtFind->setFocus();
    m_ui->edtFind->selectAll();
}

void FindBar::Close() {
    hide();
    m_view->setFocus();
}

void FindBar::ReportChanged() {
    m_pause.stop();
    CountMatches();
}

void FindBar::CountMatches() {
    m_matches.clear();
    m_current = -1;
    const QString wanted = m_ui->edtFind->text();
    if (!wanted.isEmpty()) {
        const QString& text = m_view->ReportText();
        const QStringMatcher matcher(wanted, Qt::CaseInsensitive);
        for (qsizetype at = matcher.indexIn(text); at >= 0;
             at = matcher.indexIn(text, at + wanted.size())) {
            m_matches.push_back(at);
        }
    }
    SayCount();
}

void FindBar::CountAndShowFirst() {
    CountMatches();
    if (!m_matches.empty()) {
        // On from where the reader is, so that a longer text keeps its place.
        const auto next = std::lower_bound(m_matches.begin(), m_matches.end(),
                                           m_view->textCursor().selectionStart());
        m_current = next == m_matches.end() ? 0 : next - m_matches.begin();
        ShowCurrent();
    }
}

void FindBar::FindNext() {
    Step(1);
}

void FindBar::FindPrevious() {
    Step(-1);
}

void FindBar::Step(int direction) {
    if (m_ui->edtFind->text().isEmpty()) {
        Open();
        return;
    }
    if (m_pause.isActive()) {
        m_pause.stop();
        CountMatches();
    }
    const auto count = static_cast<std::ptrdiff_t>(m_matches.size());
    if (count == 0) {
        return;
    }
    if (m_current < 0) {
        m_current = direction > 0 ? 0 : count - 1;
    } else {
        m_current = (m_current + direction + count) % count;
    }
    ShowCurrent();
}

void FindBar::ShowCurrent() {
    m_view->ShowMatch(m_matches[static_cast<std::size_t>(m_current)], m_ui->edtFind->text().size());
    SayCount();
}

void FindBar::SayCount() {
    const auto count = static_cast<int>(m_matches.size());
    if (m_ui->edtFind->text().isEmpty()) {
        m_ui->lblMatches->clear();
    } else if (count == 0) {
        m_ui->lblMatches->setText(tr("No match"));
    } else if (m_current < 0) {
        m_ui->lblMatches->setText(count == 1 ? tr("1 match") : tr("%1 matches").arg(count));
    } else {
        m_ui->lblMatches->setText(tr("%1 of %2").arg(m_current + 1).arg(count));
    }
    m_ui->btnFindNext->setEnabled(count != 0);
    m_ui->btnFindPrev->setEnabled(count != 0);
}

void FindBar::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        Close();
    } else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        // Kept from the dialog, whose default button it would press.
        Step(event->modifiers().testFlag(Qt::ShiftModifier) ? -1 : 1);
    } else {
        QWidget::keyPressEvent(event);
    }
}

void FindBar::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
        SayCount();
    }
    QWidget::changeEvent(event);
}
