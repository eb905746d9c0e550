#pragma once

#include "gui/KovGuiGlobal.h"
#include "gui/tasks/download/FileDownloadInfo.h"

#include <QMetaType>
#include <QString>

/**
 * One available update: what the updater told about it. A value type; it travels through queued calls.
 *
 * Every text comes from outside: show it as plain text, and take paths only from FileDownloadInfo's checked
 * names.
 */
class KOVGUI_EXPORT CProductUpdateInfo
{
public:
    /// Any value but 1 counts as a minor update everywhere.
    enum UpdateType : qint32 { MinorUpdate = 0, MajorUpgrade = 1 };

    /// Texts empty (the destination folder too), size 0.
    explicit CProductUpdateInfo(UpdateType type = MinorUpdate);

    /// Whether both name the same package of the same update, wherever it lies.
    bool isSameUpdate(const CProductUpdateInfo &other) const;
    bool isMajorUpgrade() const { return updateType == MajorUpgrade; }

    /// "3.1.5-31502": of a major upgrade from the package's file name, else from the transaction id. Empty
    /// when there is none. Compare it for equality only.
    QString getVersion() const;
    /// getVersion() before its first dot.
    QString getMajorVersion() const;

    /**
     * The version in a package's name, "Setup-3.1.5.31502.exe" giving "3.1.5-31502".
     *
     * Looked for behind a "-" or ".", in the name without its last extension and without directories (both
     * slashes separate). Four numbers with any one character between them; the first match counts.
     */
    static QString getVersionFromFileName(const QString &path);
    static QString getMajorVersionFromFileName(const QString &path);

    /// Reads the record of its own type from the default settings; what is missing there becomes empty or 0.
    void load();
    /// Writes it there, replacing the record of the same type.
    void store() const;

    /// As the updater reported it; of a minor update it carries the version too.
    QString transactionId;
    /// Where a paid upgrade can be bought; empty when there is nothing to buy.
    QString purchaseUrl;
    UpdateType updateType;
    /// Release notes.
    QString updateDescription;
    FileDownloadInfo download;
};

Q_DECLARE_METATYPE(CProductUpdateInfo)
