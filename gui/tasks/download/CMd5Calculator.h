#pragma once

#include "gui/KovGuiGlobal.h"

#include <QString>
#include <QThread>

#include <memory>

/**
 * Computes the MD5 digest of a file on a thread of its own, in flat memory whatever the file's size. MD5
 * finds damage, not forgery.
 *
 *     auto *calculator = new CMd5Calculator(path, this);
 *     connect(calculator, SIGNAL(finished(bool, QString)), this, SLOT(onDigest(bool, QString)));
 *     calculator->start();
 *
 * Made with new: after the run it deletes itself, so hold it by QPointer. It may be deleted earlier, also
 * while it runs: the destructor, and the application's end, cancel it and wait for the piece under way, which
 * takes milliseconds unless the disk hangs.
 */
class KOVGUI_EXPORT CMd5Calculator : public QThread
{
    Q_OBJECT

public:
    explicit CMd5Calculator(const QString &filePath, QObject *parent = nullptr);
    ~CMd5Calculator() override;

    void run() override;
    /// finished(false, "") follows, unless the digest is complete already. From any thread, also before
    /// start().
    void cancel();
    bool isCancelled() const;

Q_SIGNALS:
    /**
     * Once for each run, from the thread that it runs. Hides the signal of QThread, which is reached as
     * &QThread::finished.
     * @param ok      false: no regular file, not readable, its size changed during the run, or cancelled
     * @param digest  32 lower-case hexadecimal digits; empty unless ok
     */
    void finished(bool ok, QString digest);

private:
    QByteArray digest() const;

    class Private;
    const std::unique_ptr<Private> d;
};
