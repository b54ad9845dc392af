#pragma once

#include <gtest/gtest.h>

#include <QLatin1String>
#include <QObject>

/// The widget of this kind and object name below `parent`; one that is missing
/// fails the test.
template <typename Widget>
Widget* FindWidget(const QObject& parent, const char* name) {
    auto* widget = parent.findChild<Widget*>(QLatin1String(name));
    EXPECT_NE(widget, nullptr) << name;
    return widget;
}
