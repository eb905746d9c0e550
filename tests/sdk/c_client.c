/* A C99 program includes the interface and links the library. */
#include "kov_sdk/KovSdk.h"

#include <stddef.h>

int main(void)
{
    return KovHandle_GetType(NULL) == KHT_INVALID ? 0 : 1;
}
