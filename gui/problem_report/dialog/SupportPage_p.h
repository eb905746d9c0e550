#pragma once

#include <QUrl>

/// The maker's page with the ways to get support, for the current locale.
QUrl supportOptionsPage();
