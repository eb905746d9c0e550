#pragma once

#include <QAuthenticator>
#include <QNetworkAccessManager>
#include <QNetworkProxy>

/**
 * The network access manager of one task.
 *
 * Destroying a manager while it waits for the answer to a proxy's challenge blocks the caller for seconds,
 * and destroying it in one of its own signals is use after free; a task may end in both. So nobody deletes
 * it: the task calls retire().
 *
 * Whoever answers challenges connects to proxyAuthenticationRequired between construction and
 * challengesAreAnswered().
 */
class HttpManager : public QNetworkAccessManager
{
public:
    HttpManager()
    {
        connect(this, &QNetworkAccessManager::proxyAuthenticationRequired, this, [this] { ++m_challenges; });
    }

    void challengesAreAnswered()
    {
        connect(this, &QNetworkAccessManager::proxyAuthenticationRequired, this, [this] {
            --m_challenges;
            deleteWhenIdle();
        });
    }

    /// Gives up ownership: the manager deletes itself, with its replies, from the event loop and after an
    /// open challenge.
    void retire()
    {
        setParent(nullptr);
        m_retired = true;
        deleteWhenIdle();
    }

private:
    void deleteWhenIdle()
    {
        if (m_retired && m_challenges == 0)
            deleteLater();
    }

    int m_challenges = 0;
    bool m_retired = false;
};
