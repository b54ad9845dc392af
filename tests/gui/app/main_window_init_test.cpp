// The order in which the main window starts, seen from the passes of the event loop in between.

#include <filesystem>

#include <QApplication>
#include <QCheckBox>
#include <QSplashScreen>
#include <QTimer>

#include "common/run_state.h"
#include "scan/scanner.h"
#include "tests/gui/app/window_fixture.h"

namespace {

using ::testing::ElementsAre;

QSplashScreen* Splash() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (auto* splash = qobject_cast<QSplashScreen*>(window)) {
            return splash;
        }
    }
    return nullptr;
}

/// What a splash screen of our own shows for a message at the bottom, centred, in black.
QImage Expected(const std::filesystem::path& picture, const QString& message) {
    QSplashScreen splash(QPixmap(QString::fromStdString(picture.string())));
    splash.showMessage(message, Qt::AlignBottom | Qt::AlignHCenter, Qt::black);
    return splash.grab().toImage();
}

class MainWindowInit : public WindowTest {
protected:
    /// How far the start has come.
    [[nodiscard]] std::string Progress() const {
        std::string progress;
        for (const char* name : {"zqscn.opt", "zqupdate.opt", "main.rpt", "updt.rpt"}) {
            progress += Mode(name) == 0666 ? std::string(name) + " " : "";
        }
        progress += g_scnopts.action == 4 ? "settings " : "";
        progress += m_engine.Calls("ZqInitScan").empty() ? "" : "engine ";
        return progress;
    }
};

TEST_F(MainWindowInit, EveryStepIsShownBeforeItsWorkIsDone) {
    g_scnopts = {};
    Put("zqscn.opt", std::string("\x04\x00\x05", 3));
    std::vector<std::string> passes;
    QTimer everyPass;
    QObject::connect(&everyPass, &QTimer::timeout, [this, &passes] {
        QSplashScreen* splash = Splash();
        if (splash == nullptr || splash->message().isEmpty()) {
            return;
        }
        const std::string pass = splash->message().toStdString() + " | " + Progress();
        if (passes.empty() || passes.back() != pass) {
            passes.push_back(pass);
            EXPECT_EQ(splash->grab().toImage(),
                      Expected(PathOf("qimages/splash.bmp"), splash->message()));
        }
    });
    everyPass.start(0);
    Open();
    everyPass.stop();

    EXPECT_THAT(
        passes,
        ElementsAre("Loading... Scan Option Settings | ", "Loading... Update Module | zqscn.opt ",
                    "Loading... | zqscn.opt zqupdate.opt settings ",
                    "API Library loaded successfully | zqscn.opt zqupdate.opt settings engine "));
    EXPECT_EQ(Progress(), "zqscn.opt zqupdate.opt main.rpt updt.rpt settings engine ");
    EXPECT_EQ(Splash(), nullptr);
}

}  // namespace
