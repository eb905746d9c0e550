#pragma once

#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestAuthority.h"
#include "tests/support/TestServer.h"
#include "tests/tasks/TaskFixture.h"

#include <QtTest>

inline QString urlOf(const TestServer &server, const char *path = "/")
{
    return QString::fromUtf8(server.url(path));
}
