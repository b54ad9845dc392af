#include "reports/find_bar.h"

#include <QEvent>
#include <QKeyEvent>

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
    connect(&m_pause, &QTimer::timeout, this, [this] { CountMatches(Goal::kFirst); });
    connect(&m_counting, &QTimer::timeout, this, &FindBar::CountSome);
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
    CountMatches(Goal::kNone);
}

void FindBar::CountMatches(Goal goal) {
    const QString wanted = m_ui->edtFind->text();
    m_search = wanted.isEmpty() ? ReportSearch() : ReportSearch(m_view->Report(), wanted);
    m_current.reset();
    m_goal = goal;
    m_counting.start(0);
    CountSome();
}

void FindBar::CountSome() {
    m_search.CountSome();
    if (m_search.IsWhole()) {
        m_counting.stop();
        Go(m_goal);
    }
    SayCount();
}

void FindBar::FindNext() {
    Step(Goal::kNext);
}

void FindBar::FindPrevious() {
    Step(Goal::kPrevious);
}

void FindBar::Step(Goal goal) {
    if (m_ui->edtFind->text().isEmpty()) {
        Open();
    } else if (m_pause.isActive()) {
        m_pause.stop();
        CountMatches(goal);
    } else if (!m_search.IsWhole()) {
        m_goal = goal;
    } else {
        Go(goal);
        SayCount();
    }
}

void FindBar::Go(Goal goal) {
    m_goal = Goal::kNone;
    const std::size_t count = m_search.Count();
    if (count == 0 || goal == Goal::kNone) {
        return;
    }
    if (goal == Goal::kFirst) {
        // On from where the reader is, so that a longer text keeps its place.
        m_current = m_search.FirstFrom(m_view->SelectionBegin()) % count;
    } else if (goal == Goal::kNext) {
        m_current = m_current ? (*m_current + 1) % count : 0;
    } else {
        m_current = (m_current.value_or(0) + count - 1) % count;
    }
    const ReportSearch::Match match = m_search.At(*m_current);
    m_view->ShowRange(match.begin, match.end);
}

void FindBar::SayCount() {
    const auto count = static_cast<int>(m_search.Count());
    if (m_ui->edtFind->text().isEmpty()) {
        m_ui->lblMatches->clear();
    } else if (!m_search.IsWhole()) {
        m_ui->lblMatches->setText(tr("Searching ..."));
    } else if (count == 0) {
        m_ui->lblMatches->setText(tr("No match"));
    } else if (!m_current) {
        m_ui->lblMatches->setText(count == 1 ? tr("1 match") : tr("%1 matches").arg(count));
    } else {
        m_ui->lblMatches->setText(tr("%1 of %2").arg(*m_current + 1).arg(count));
    }
    m_ui->btnFindNext->setEnabled(count != 0);
    m_ui->btnFindPrev->setEnabled(count != 0);
}

void FindBar::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        Close();
    } else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        // Kept from the dialog, whose default button it would press.
        Step(event->modifiers().testFlag(Qt::ShiftModifier) ? Goal::kPrevious : Goal::kNext);
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
