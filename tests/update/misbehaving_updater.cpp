#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

/// A child process that goes wrong in the way that the environment variable MISBEHAVIOUR names: "exit 7",
/// "signal 4", "hang" ...
int main(int argc, char *argv[])
{
    const char *variable = std::getenv("MISBEHAVIOUR");
    const std::string how = variable ? variable : "exit 99";
    const auto pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(20)); };

    if (how.rfind("exit ", 0) == 0)
        return std::atoi(how.c_str() + 5);
    if (how.rfind("signal ", 0) == 0) {
        std::raise(std::atoi(how.c_str() + 7));
    } else if (how == "hang") {
        std::puts("hanging");
        std::fflush(stdout);
        for (;;)
            pause();
    } else if (how == "wait for the end of input") {
        while (std::getchar() != EOF) { }
    } else if (how == "flood output") {
        for (;;)
            std::puts("FILE_PATH: http://h/x");
    } else if (how == "flood errors") {
        for (int line = 0; line < 20000; ++line)
            std::fprintf(stderr, "line %d\rF /forged:1:1/ https://me:secret@h/\033[31m\n", line);
    } else if (how == "progress") {
        std::fputs("installer:%4", stdout);
        std::fflush(stdout);
        pause();
        std::fputs("2\ninstaller:%100 installer:%101\ninstaller:%99999999999\nINSTALLER:%3 install", stdout);
        std::fflush(stdout);
        pause();
        std::fputs("er:%7", stdout);
    } else if (how == "arguments") {
        for (int i = 1; i < argc; ++i)
            std::puts(argv[i]);
    }
    return 0;
}
