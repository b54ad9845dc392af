// A plug-in of the toolkit that sits inside the program under test and plays its user: it presses
// the default button of every message box, closes the main window, and writes down what it saw.
//
// CORVANE_DRIVER_LOG   the file for the lines; a line break inside a text is written "\n"
// CORVANE_DRIVER_HOLD  the main window is closed only when this file is there

#include <algorithm>

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QGenericPlugin>
#include <QLabel>
#include <QMessageBox>
#include <QScreen>
#include <QSplashScreen>
#include <QStackedWidget>
#include <QStyle>
#include <QTimer>

namespace {

class TestDriver : public QObject {
public:
    TestDriver() {
        // At once, not with the first look: the splash screen may be gone by then.
        QCoreApplication::instance()->installEventFilter(this);
        m_timer.setInterval(10);
        connect(&m_timer, &QTimer::timeout, this, &TestDriver::Look);
        m_timer.start();
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (auto* splash = qobject_cast<QSplashScreen*>(watched);
            splash != nullptr && event->type() == QEvent::Paint && splash->message() != m_splash) {
            m_splash = splash->message();
            Note("splash " + m_splash);
        }
        return QObject::eventFilter(watched, event);
    }

private:
    static void Note(QString line) {
        QFile log(qEnvironmentVariable("CORVANE_DRIVER_LOG"));
        if (log.open(QIODevice::WriteOnly | QIODevice::Append)) {
            log.write(line.replace('\n', "\\n").toUtf8() + '\n');
        }
    }

    void Look() {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            Answer(*box);
            return;
        }
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->objectName() == "dlgMain" && window->isVisible()) {
                VisitMainWindow(*window);
                return;
            }
        }
    }

    static void Answer(QMessageBox& box) {
        const char* kind = "other";
        if (box.icon() == QMessageBox::Warning) {
            kind = "warning";
        } else if (box.icon() == QMessageBox::Critical) {
            kind = "critical";
        }
        Note(QStringLiteral("%1 %2 | %3").arg(kind, box.windowTitle(), box.text()));
        box.accept();
    }

    void VisitMainWindow(QWidget& window) {
        if (!m_seen) {
            m_seen = true;
            Note("window " + window.windowTitle());
            const auto* scanPage = window.findChild<QWidget*>("scanPage");
            Note("heading " + scanPage->findChild<QLabel*>("lblHeading")->text());
            const QFont font = QApplication::font();
            Note(QStringLiteral("font %1 %2").arg(font.family()).arg(font.pointSize()));
            Note(QStringLiteral("style ") + QApplication::style()->metaObject()->className());
            const QSize desktop = QApplication::primaryScreen()->size();
            const bool centred = window.x() == (desktop.width() - window.width()) / 2 &&
                                 window.y() == (desktop.height() - window.height()) / 2;
            Note(centred ? "centred" : "not centred");
            Note(QStringLiteral("pictures %1").arg(PictureSharpness(window)));
        }
        const QString hold = qEnvironmentVariable("CORVANE_DRIVER_HOLD");
        if (hold.isEmpty() || QFile::exists(hold)) {
            window.close();
        }
    }

    /// How many pixels of a picture there are for one pixel of a button's place, at the least.
    static int PictureSharpness(const QWidget& window) {
        int sharpness = 100;
        for (const auto* button : window.findChildren<QAbstractButton*>()) {
            if (!button->icon().isNull()) {
                const QPixmap picture =
                    button->icon().pixmap(button->iconSize(), window.devicePixelRatio());
                sharpness = std::min(sharpness, picture.width() / button->iconSize().width());
            }
        }
        return sharpness;
    }

    QTimer m_timer;
    QString m_splash;
    bool m_seen = false;
};

class TestDriverPlugin : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "test_driver.json")

public:
    QObject* create(const QString& /*name*/, const QString& /*arguments*/) override {
        return new TestDriver;
    }
};

}  // namespace

#include "test_driver.moc"
