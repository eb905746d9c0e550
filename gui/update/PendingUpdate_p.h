#pragma once

#include "gui/update/record/CProductUpdateInfo.h"

/// The one update that waits for its installation, how it was found, and what the settings keep of it for
/// later starts.
class PendingUpdate
{
public:
    /// Reads what the settings hold. Pending is only what this build was to install when it starts.
    void loadAtStart();
    /// Replaces what was pending, in the settings, too. A folder that is missing is filled in.
    void set(const CProductUpdateInfo &info, bool foundInBackground, bool isSmart);
    /// The settings hold the record of what is pending again, after they held that of another update.
    void store() const;
    /// Nothing is pending; the settings keep the record.
    void clear();

    /// Null when nothing is pending.
    const CProductUpdateInfo *info() const;
    bool wasFoundInBackground() const { return m_foundInBackground; }
    bool isSmart() const { return m_isSmart; }
    bool isPackageOnDisk() const;

    static bool isOnDisk(const QString &packagePath);
    /// No installation is asked for at the next start.
    static void forgetInstallRequest();

private:
    void load(CProductUpdateInfo::UpdateType type);
    void ensureFolder();

    CProductUpdateInfo m_info;
    bool m_isPending = false;
    bool m_foundInBackground = false;
    bool m_isSmart = false;
};
