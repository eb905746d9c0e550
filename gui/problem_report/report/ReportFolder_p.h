#pragma once

#include <QString>

#include <memory>

class QLockFile;

/**
 * The user's folder for problem reports, and in it a private folder for one report that is open.
 *
 * A folder goes with its object. What a process that was killed left behind is removed by the next one.
 */
class ReportFolder
{
public:
    /// Null, logged, when there is no place for it.
    static std::unique_ptr<ReportFolder> create();
    ~ReportFolder();
    ReportFolder(const ReportFolder &) = delete;
    ReportFolder &operator=(const ReportFolder &) = delete;

    QString path() const { return m_path; }

    /// The folder of all reports, made for this user alone when missing; empty when it cannot be had.
    static QString common();

private:
    ReportFolder(const QString &path, std::unique_ptr<QLockFile> lock);

    const QString m_path;
    const std::unique_ptr<QLockFile> m_lock;
};
