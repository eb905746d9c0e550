#pragma once

#include <QString>

/// What a crash leaves for the next start: a file with the signal and the calls that led there.
namespace CrashNote {

/// From now on a crash of this process leaves a note in the user's data folder. To be called once, after
/// KovGui::init().
void install();
/// The note of a former process; empty when there is none.
QString find();
QString text(const QString &path);
void remove(const QString &path);
/// Crashes, by a write to where no memory is.
[[noreturn]] void crash();

} // namespace CrashNote
