#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

#include <unistd.h>

/// A child process in place of the download utility that goes wrong in the way that the environment variable
/// MISBEHAVIOUR names. It appends a line for each run, with its process id and its arguments, to the file
/// that RUNS names.
int main(int argc, char *argv[])
{
    std::ofstream runs(std::getenv("RUNS"), std::ios::app);
    runs << getpid() << '|';
    for (int i = 1; i < argc; ++i)
        runs << argv[i] << '|';
    const std::string how = std::getenv("MISBEHAVIOUR");
    const auto say = [](const char *text) {
        std::cout << text << std::flush;
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
    };
    if (how == "read input") {
        std::string line;
        while (std::getline(std::cin, line))
            runs << '[' << line << ']';
        runs << (std::cin.eof() ? "end" : "error");
    }
    runs << std::endl;
    if (how.rfind("exit ", 0) == 0)
        return std::atoi(how.c_str() + 5);
    if (how.rfind("signal ", 0) == 0)
        return std::signal(std::atoi(how.c_str() + 7), SIG_DFL), std::raise(std::atoi(how.c_str() + 7));
    if (how == "pieces") {
        for (const char *piece : {"FILE_SI", "ZE: 12", "34\nDOWNLOADED_BYTES: 1", "000\nPROGRESS: 10\nPROGR",
                                  "ESS: 1", "2\nESTIMATED_TIME: 7\nDOWNLOADING_RATE: 9", "9"})
            say(piece);
    }
    while (how == "hang")
        say("PROGRESS: 1\n");
    while (how == "flood") {
        std::cout << "PROGRESS: 1\nDOWNLOADED_BYTES: 5\n";
        std::cerr << "noise https://me:secret@h/\r/forged:1:1/\n";
    }
    for (int line = 0; how == "flood errors" && line < 20000; ++line)
        std::cerr << "line " << line << "\rF /forged:1:1/ https://me:secret@h/\033[31m\n";
    return 0;
}
