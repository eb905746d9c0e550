#pragma once

#include "gui/KovGuiGlobal.h"

#include <QByteArray>

#include <functional>

/**
 * What a child process prints on standard error, on its way to the log: whole lines, cut after 1 KiB each,
 * and after 16 KiB none any more, so that no child floods the log. Escaping and masking are the writer's
 * part.
 */
class KOVGUI_EXPORT ChildErrorLog
{
public:
    using Writer = std::function<void(const QByteArray &line)>;
    /// Told once, at the end, how many bytes were left out.
    using DroppedWriter = std::function<void(long long bytes)>;

    ChildErrorLog(Writer writer, DroppedWriter droppedWriter);

    void add(const QByteArray &chunk);
    /// The child has ended.
    void finish();

private:
    void flush();

    Writer m_writer;
    DroppedWriter m_droppedWriter;
    QByteArray m_line;
    int m_logged = 0;
    long long m_dropped = 0;
};
