// A child process that goes wrong in the way that MISBEHAVIOUR says, in steps with semicolons between them:
//   print TEXT, warn TEXT    to standard output, or error; each | is a pause, before which all has left
//   arguments                prints its own
//   read [FILE]              standard input to its end, into a file
//   wait [FILE]              until there is such a file, for a minute at most
//   exit CODE
//   crash NUMBER             by that signal; on Windows with the exit code of exception 0xC0000000 + NUMBER
//   again [TIMES]            what stands before it, so many times in all, or for ever
// It appends a line for each run, with its process id and its arguments, to the file that RUNS names.

#include "gui/platform/LogFile.h"
#include "gui/platform/StandardStreams.h"
#include "gui/platform/ThisProcess.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <thread>

using namespace KovGui::Platform;
using namespace std::chrono_literals;

static void print(std::ostream &stream, const std::string &text)
{
    for (const char c : text) {
        if (!(c == '|' ? stream.flush() : stream.put(c)))
            std::exit(1); // nobody reads it
        if (c == '|')
            std::this_thread::sleep_for(50ms);
    }
}

int main(int argc, char *argv[])
{
    useBinaryStreams();
    std::ios::sync_with_stdio(false);
    std::string arguments;
    for (int i = 1; i < argc; ++i)
        arguments += argv[i] + std::string("|");
    const std::string run = std::to_string(processId()) + '|' + arguments + '\n';
    const char *const runs = std::getenv("RUNS");
    if (runs && LogFile::open(runs))
        LogFile::append(run.data(), run.size());

    const char *const behaviour = std::getenv("MISBEHAVIOUR");
    std::istringstream steps(behaviour ? behaviour : "");
    int round = 1;
    for (std::string text; std::getline(steps >> std::ws, text, ';');) {
        const std::string verb = text.substr(0, text.find(' '));
        text.erase(0, verb.size() + 1);
        const int number = std::atoi(text.c_str());
        if (verb == "print" || verb == "warn") {
            print(verb == "print" ? std::cout : std::clog, text);
        } else if (verb == "arguments") {
            std::cout << arguments;
        } else if (verb == "read") {
            std::ofstream(text, std::ios::binary)
                << std::string(std::istreambuf_iterator<char>(std::cin), {});
        } else if (verb == "wait") {
            for (int left = 1200; left > 0 && !std::ifstream(text); --left)
                std::this_thread::sleep_for(50ms);
        } else if (verb == "exit") {
            return number;
        } else if (verb == "crash") {
            std::raise(number);
            std::_Exit(int(0xC0000000 + unsigned(number)));
        } else if (verb != "again") {
            std::cerr << "MISBEHAVIOUR has no step " << verb << std::endl;
            return 126;
        } else if (number == 0 || round++ < number) {
            steps.clear();
            steps.seekg(0);
        }
    }
    return 0;
}
