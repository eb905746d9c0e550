/**
 * A small service that takes problem reports (docs/reference/problem-report.md), for the console, its tour
 * and the tests.
 *
 * usage: sample_report_service FOLDER [PORT]
 *
 * Listens on 127.0.0.1, prints "port N" when it does, and ends when its standard input ends. A report that
 * came whole lies in FOLDER as ID.xml and ID.tar.gz; anything else leaves nothing. Addresses:
 *
 *     /reports    takes reports
 *     /busy       receives a report and does not take it
 *     /moved      redirects to /reports
 *     /elsewhere  redirects to another host
 */
#include "Sockets.h"

#include <microhttpd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t bufferSize = 64 * 1024;

/// One upload, on its way to the disk.
class Upload
{
public:
    explicit Upload(const fs::path &folder)
        : m_folder(folder)
    {
        std::random_device random;
        char text[32];
        std::snprintf(text, sizeof text, "KR-%08x%08x", random(), random());
        m_id = text;
    }
    ~Upload()
    {
        if (processor)
            MHD_destroy_post_processor(processor);
        if (m_isKept)
            return;
        std::error_code ignored;
        fs::remove(path("report"), ignored);
        fs::remove(path("archive"), ignored);
    }

    const std::string &id() const { return m_id; }

    bool take(const std::string &name, const char *data, std::uint64_t offset, std::size_t size)
    {
        if (name != "report" && name != "archive")
            return true;
        if (offset == 0) {
            m_file.close();
            m_file.open(path(name), std::ios::binary | std::ios::trunc);
            m_received += 1;
        }
        m_file.write(data, std::streamsize(size));
        return bool(m_file);
    }

    /// Both files came, and are on the disk.
    bool keep()
    {
        if (!m_file.is_open())
            return false;
        m_file.close();
        m_isKept
            = bool(m_file) && m_received == 2 && fs::exists(path("report")) && fs::exists(path("archive"));
        return m_isKept;
    }

    MHD_PostProcessor *processor = nullptr;

private:
    fs::path path(const std::string &name) const
    {
        return m_folder / (m_id + (name == "report" ? ".xml" : ".tar.gz"));
    }

    const fs::path m_folder;
    std::string m_id;
    std::ofstream m_file;
    int m_received = 0;
    bool m_isKept = false;
};

MHD_Result answer(MHD_Connection *connection, unsigned status, const std::string &body,
                  const char *location = nullptr)
{
    const std::unique_ptr<MHD_Response, decltype(&MHD_destroy_response)> response(
        MHD_create_response_from_buffer(body.size(), const_cast<char *>(body.data()), MHD_RESPMEM_MUST_COPY),
        MHD_destroy_response);
    MHD_add_response_header(response.get(), "Content-Type", "text/plain; charset=utf-8");
    if (location)
        MHD_add_response_header(response.get(), "Location", location);
    return MHD_queue_response(connection, status, response.get());
}

MHD_Result onPart(void *context, MHD_ValueKind, const char *name, const char *, const char *, const char *,
                  const char *data, std::uint64_t offset, std::size_t size)
{
    return static_cast<Upload *>(context)->take(name ? name : "", data, offset, size) ? MHD_YES : MHD_NO;
}

MHD_Result onRequest(void *context, MHD_Connection *connection, const char *url, const char *method,
                     const char *, const char *data, std::size_t *size, void **state)
{
    const std::string path = url;
    if (path == "/moved")
        return answer(connection, MHD_HTTP_PERMANENT_REDIRECT, "", "/reports");
    if (path == "/elsewhere")
        return answer(connection, MHD_HTTP_PERMANENT_REDIRECT, "", "https://reports.example/");
    if (path != "/reports" && path != "/busy")
        return answer(connection, MHD_HTTP_NOT_FOUND, "status=UNKNOWN\n");
    if (std::strcmp(method, "POST") != 0)
        return answer(connection, MHD_HTTP_OK, "");
    auto *upload = static_cast<Upload *>(*state);
    if (!upload) {
        upload = new Upload(*static_cast<const fs::path *>(context));
        *state = upload;
        upload->processor = MHD_create_post_processor(connection, bufferSize, onPart, upload);
        return upload->processor ? MHD_YES : MHD_NO;
    }
    if (*size > 0) {
        const MHD_Result result = MHD_post_process(upload->processor, data, *size);
        *size = 0;
        return result;
    }
    if (path == "/busy")
        return answer(connection, MHD_HTTP_OK, "status=BUSY <b>come back</b>\n");
    // Closes the last part.
    MHD_destroy_post_processor(upload->processor);
    upload->processor = nullptr;
    if (!upload->keep())
        return answer(connection, MHD_HTTP_BAD_REQUEST, "status=INCOMPLETE\n");
    return answer(connection, MHD_HTTP_OK, "status=OK\nid=" + upload->id() + "\n");
}

void onEnd(void *, MHD_Connection *, void **state, MHD_RequestTerminationCode)
{
    delete static_cast<Upload *>(*state);
    *state = nullptr;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 2 || !fs::is_directory(argv[1])) {
        std::fprintf(stderr, "usage: sample_report_service FOLDER [PORT]\n");
        return 2;
    }
    fs::path folder(argv[1]);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(argc > 2 ? std::uint16_t(std::atoi(argv[2])) : 0);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    MHD_Daemon *const daemon = MHD_start_daemon(
        MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_AUTO, 0, nullptr, nullptr, onRequest, &folder,
        MHD_OPTION_SOCK_ADDR, reinterpret_cast<sockaddr *>(&address), MHD_OPTION_NOTIFY_COMPLETED, onEnd,
        nullptr, MHD_OPTION_CONNECTION_MEMORY_LIMIT, 4 * bufferSize, MHD_OPTION_END);
    const MHD_DaemonInfo *const info
        = daemon ? MHD_get_daemon_info(daemon, MHD_DAEMON_INFO_BIND_PORT) : nullptr;
    if (!info) {
        std::fprintf(stderr, "sample_report_service: the port cannot be had\n");
        return 1;
    }
    std::printf("port %u\n", unsigned(info->port));
    std::fflush(stdout);
    char input[64];
    while (read(STDIN_FILENO, input, sizeof input) > 0) { }
    MHD_stop_daemon(daemon);
    return 0;
}
