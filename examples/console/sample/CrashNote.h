#pragma once

#include <QString>

/// What a crash leaves for the next start: a file with what the system calls it and the calls that led there.
/// install() and crash() are implemented once per operating system.
namespace CrashNote {

/// From now on a crash of this process leaves a note in the user's data folder. To be called once, after
/// KovGui::init().
void install();
/// Where the note of this process goes; its folder is made.
QString newPath();
/// The note of a former process; empty when there is none.
QString find();
QString text(const QString &path);
void remove(const QString &path);
/// Crashes, by a write to where no memory is.
[[noreturn]] void crash();

} // namespace CrashNote
