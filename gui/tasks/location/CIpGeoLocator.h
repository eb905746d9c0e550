#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

#include <memory>

/**
 * Asks a web service in which country the user's public address lies, so that forms can preselect it.
 *
 * One for the process, made on first use, on the GUI thread; it goes with the application object. The answer
 * is kept until the next locate().
 */
class KOVGUI_EXPORT CIpGeoLocator : public QObject
{
    Q_OBJECT

public:
    enum LocationState {
        NotLocated = 0,
        Locating = 1,
        Located = 2,
        LocationFailed = 3,
    };
    Q_ENUM(LocationState)

    /// The service's own results -1 to -3. Everything else that goes wrong is UnknownError: another result,
    /// an answer that is none (a captive portal's page), no answer at all.
    enum LocationError {
        NoError = 0,
        ServerError = 1,
        InvalidParameterError = 2,
        InvalidDebugValueError = 3,
        UnknownError = 4,
    };
    Q_ENUM(LocationError)

    static CIpGeoLocator *instance();
    ~CIpGeoLocator() override;

    /// The service; at first the maker's. Takes effect with the next locate().
    void setUrl(const QString &url);
    QString url() const;

    LocationState state() const;
    /// Of the last answer; NoError while locating.
    LocationError error() const;
    /// ISO 3166-1 with two letters, as the service gave it: foreign text. Empty when unknown.
    QString countryCode() const;
    /// The part of the country; empty when unknown.
    QString regionCode() const;

public Q_SLOTS:
    /// Asks anew; finished() follows, once. A request under way is given up, without a signal of its own, and
    /// what is known is forgotten. With an empty URL nothing happens but a line in the log.
    void locate();

Q_SIGNALS:
    void finished();

private Q_SLOTS:
    void onResponseReceived();

private:
    explicit CIpGeoLocator(QObject *parent);

    class Private;
    const std::unique_ptr<Private> d;
};
