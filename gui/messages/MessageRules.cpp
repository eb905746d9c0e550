#include "gui/messages/MessageRules_p.h"

namespace MessageRules {

Verdict decide(const Questions &questions)
{
    if (questions.isHidden())
        return Hidden;
    if (questions.isSkipped())
        return Skipped;
    if (questions.mustBeShown())
        return Shown;
    if (questions.isMerged())
        return Merged;
    return questions.isQueued() ? Queued : Shown;
}

bool mustBeShown(bool forceShow, bool spontaneous, _KOV_MESSAGE_TYPE_ENUM type)
{
    return forceShow || (!spontaneous && type == KMT_QUESTION);
}

bool isSkipped(const SkipFacts &facts)
{
    if (facts.shownBefore)
        return true;
    return !facts.forceShow && facts.spontaneous && !facts.isStillNeeded();
}

bool isQueued(const QueueFacts &facts)
{
    if (facts.blocked)
        return true;
    if (facts.notification || !facts.issuerHasOpenMessage)
        return false;
    return facts.parent() != FreeParent;
}

} // namespace MessageRules
