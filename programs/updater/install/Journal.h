#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

/// Written before two versions change places, removed after it: which is to take whose place, and what is
/// kept of it. docs/reference/update-package.md
struct Journal
{
    /// SHA-256 of both manifests, in hexadecimal digits.
    QByteArray before;
    QByteArray after;
    /// Of an installation: who signed the package, as Signature::Statement::key, and its counter.
    QByteArray key;
    quint64 counter = 0;
    /// Of a step back to the version before: why, not empty.
    QString reason;

    bool isStepBack() const { return !reason.isEmpty(); }

    QByteArray text() const;
    /// Nothing for any other text.
    static std::optional<Journal> parse(const QByteArray &text);
};
