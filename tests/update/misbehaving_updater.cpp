#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

/// A child process that goes wrong in the way that the environment variable MISBEHAVIOUR names.
int main(int argc, char *argv[])
{
    const std::string how = std::getenv("MISBEHAVIOUR");
    const auto say = [](const char *text) {
        std::fputs(text, stdout);
        std::fflush(stdout);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    };
    if (how.rfind("exit ", 0) == 0)
        return std::atoi(how.c_str() + 5);
    if (how.rfind("signal ", 0) == 0)
        return std::raise(std::atoi(how.c_str() + 7));
    while (how == "hang")
        say(".");
    while (how == "wait for the end of input" && std::getchar() != EOF) { }
    while (how == "flood output")
        std::puts("FILE_PATH: http://h/x");
    for (int line = 0; how == "flood errors" && line < 20000; ++line)
        std::fprintf(stderr, "line %d\rF /forged:1:1/ https://me:secret@h/\033[31m\n", line);
    if (how == "progress") {
        say("installer:%4");
        say("2\ninstaller:%100 installer:%101\ninstaller:%99999999999\nINSTALLER:%3 install");
        say("er:%7");
    }
    if (how.rfind("install until ", 0) == 0) {
        const std::string path = how.substr(14);
        std::ofstream arguments(path + ".arguments");
        for (int i = 1; i < argc; ++i)
            arguments << argv[i] << '|';
        arguments.close();
        for (say("installer:%42\n"); !std::ifstream(path).is_open();)
            say(".");
    }
    for (int i = 1; how == "arguments" && i < argc; ++i)
        std::printf("%s|", argv[i]);
    return 0;
}
