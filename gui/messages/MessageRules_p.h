#pragma once

#include "kov_sdk/KovTypes.h"

#include <functional>

/**
 * What becomes of a message: the decision without windows, settings or books.
 *
 * What is costly to find out is a question: it is asked only when the answer matters.
 */
namespace MessageRules {

enum Verdict { Hidden, Skipped, Merged, Queued, Shown };

using Question = std::function<bool()>;

/// In the order in which they are asked.
struct Questions
{
    Question isHidden;
    Question isSkipped;
    Question mustBeShown;
    Question isMerged;
    Question isQueued;
};
Verdict decide(const Questions &questions);

/// Forced, or a question that an action of the user asks.
bool mustBeShown(bool forceShow, bool spontaneous, _KOV_MESSAGE_TYPE_ENUM type);

struct SkipFacts
{
    /// An equal show-once message was shown in this run.
    bool shownBefore;
    bool forceShow;
    bool spontaneous;
    Question isStillNeeded;
};
bool isSkipped(const SkipFacts &facts);

enum ParentState { NoParent, FreeParent, OccupiedParent };

struct QueueFacts
{
    bool blocked;
    bool notification;
    bool issuerHasOpenMessage;
    std::function<ParentState()> parent;
};
bool isQueued(const QueueFacts &facts);

} // namespace MessageRules
