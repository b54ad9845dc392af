#pragma once

// Precompiled for the programs of tests that use Qt, on top of test_headers.h. QTest is not among
// these: its macros differ from program to program.

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
