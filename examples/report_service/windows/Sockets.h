#pragma once

#include <winsock2.h>
