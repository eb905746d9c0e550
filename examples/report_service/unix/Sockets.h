#pragma once

#include <arpa/inet.h>
