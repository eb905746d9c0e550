// An updater that crashes, so that the console can show what its user sees then.
#include <cstdlib>

int main()
{
    std::abort();
}
