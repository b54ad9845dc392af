// corvane-notify TITLE BODY: shows that on the desktop of the session that the environment names,
// as something urgent. The body may hold markup. Without a desktop nothing happens.

#include <cstdio>

#include "product/notifying/desktop_notification.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("Usage: corvane-notify TITLE BODY\n", stderr);
        return 2;
    }
    notifying::ShowNotification({argv[1], argv[2], true});
    return 0;
}
