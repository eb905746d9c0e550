#pragma once

/// What the meta-type system has to know before a property of the declarative pages is read by its type's
/// name: an alias of a type is a stranger to it.
void registerDeclarativeTypes();
