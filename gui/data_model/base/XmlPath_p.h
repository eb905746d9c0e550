#pragma once

#include "gui/data_model/base/XmlModel_p.h"
#include "gui/data_model/base/XmlReport.h"

#include <QVarLengthArray>

/// Where a walk over a model stands: the elements from the root on. Text is made of it only for a message.
class XmlPath
{
public:
    /// @param index  from 0, or -1 for a tag that does not repeat
    void enter(QLatin1String tag, int index = -1) { m_steps.append({tag, index}); }
    void enter(const XmlField &field, int index)
    {
        enter(field.name, field.occurs == XmlOccurs::Repeated ? index : -1);
    }
    void leave() { m_steps.removeLast(); }

    QString text() const
    {
        QString path;
        for (const Step &step : m_steps) {
            path += QLatin1Char('/') + step.tag;
            if (step.index >= 0)
                path += QStringLiteral("[%1]").arg(step.index + 1);
        }
        return path;
    }
    /// Of a child or an attribute.
    QString text(const QString &name) const { return text() + QLatin1Char('/') + name; }

private:
    struct Step
    {
        QLatin1String tag;
        int index;
    };
    QVarLengthArray<Step, 16> m_steps;
};
