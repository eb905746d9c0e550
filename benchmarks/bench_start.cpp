// A host that starts and ends: bare Qt Widgets, with KDE Frameworks or with KovGui. Prints how many shared
// objects are loaded and how much memory is resident; compare-starts measures the time.

#ifdef KOV_START_OURS
#include "gui/KovGui.h"
#endif
#ifdef KOV_START_PEER
#include <KCoreAddons>
#include <KMessageBox>
#endif

#include <QApplication>
#include <QFile>

#include <cstdio>
#include <link.h>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
#ifdef KOV_START_OURS
    KovGui::init(KAM_CONSOLE);
#endif
#ifdef KOV_START_PEER
    // Uses both libraries, so that the linker keeps them.
    KMessageBox::setDontShowAgainConfig(nullptr);
    if (KCoreAddons::version() == 0)
        return 1;
#endif
    int objects = 0;
    dl_iterate_phdr([](dl_phdr_info *, std::size_t, void *count) { return ++*static_cast<int *>(count), 0; },
                    &objects);
    QFile status(QStringLiteral("/proc/self/statm"));
    long pages = 0;
    if (status.open(QIODevice::ReadOnly))
        pages = status.readAll().split(' ').value(1).toLong();
    std::printf("%d %ld\n", objects, pages * 4);
    return 0;
}
