#include "gui/log/ChildErrorLog.h"

#include <utility>

namespace {

const int longestLine = 1024;
const int mostBytes = 16 * 1024;

} // namespace

ChildErrorLog::ChildErrorLog(Writer writer, DroppedWriter droppedWriter)
    : m_writer(std::move(writer))
    , m_droppedWriter(std::move(droppedWriter))
{ }

void ChildErrorLog::add(const QByteArray &chunk)
{
    for (const char c : chunk) {
        if (c == '\n')
            flush();
        else if (m_line.size() < longestLine)
            m_line += c;
        else
            ++m_dropped;
    }
}

void ChildErrorLog::finish()
{
    flush();
    if (m_dropped > 0)
        m_droppedWriter(m_dropped);
    m_dropped = 0;
}

void ChildErrorLog::flush()
{
    if (m_logged + m_line.size() > mostBytes) {
        m_dropped += m_line.size();
    } else if (!m_line.isEmpty()) {
        m_logged += m_line.size();
        m_writer(m_line);
    }
    m_line.clear();
}
