// Who opens a file or folder of the host.
#pragma once

#include <array>
#include <string>
#include <sys/inotify.h>
#include <unistd.h>

class OpenWatch {
public:
    explicit OpenWatch(const std::string& hostPath) : m_watch(inotify_init1(IN_NONBLOCK))
    {
        m_works = inotify_add_watch(m_watch, hostPath.c_str(), IN_OPEN) >= 0;
    }
    ~OpenWatch() { close(m_watch); }
    OpenWatch(const OpenWatch&) = delete;
    OpenWatch& operator=(const OpenWatch&) = delete;

    // How often it was opened since the last call; what lies in it does not count. -1 when nobody
    // can tell.
    int Count() const
    {
        int count = m_works ? 0 : -1;
        alignas(inotify_event) std::array<char, 64 * 1024> events;
        for (ssize_t size; m_works && (size = read(m_watch, events.data(), events.size())) > 0;) {
            for (ssize_t i = 0; i < size;) {
                const auto* const event = reinterpret_cast<inotify_event*>(events.data() + i);
                count += event->len == 0;
                i += static_cast<ssize_t>(sizeof *event + event->len);
            }
        }
        return count;
    }

private:
    const int m_watch;
    bool m_works;
};
