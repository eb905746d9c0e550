#pragma once

#include <QObject>
#include <QPointer>

class CMd5Calculator;
class FileDownloadInfo;

/// Compares a package on the disk with the digest that its update tells. The file is read on another thread.
class PackageCheck : public QObject
{
    Q_OBJECT

public:
    /// Whether the update tells a digest to compare with.
    static bool isPossible(const FileDownloadInfo &package);

    explicit PackageCheck(QObject *parent);
    /// Gives up what runs.
    ~PackageCheck() override;

    /// A damaged package, and one that cannot be read, is logged and removed. finished() follows from the
    /// event loop.
    void start(const FileDownloadInfo &package);
    void cancel();

Q_SIGNALS:
    void finished(bool isIntact);

private:
    QPointer<CMd5Calculator> m_calculator;
};
