// The number of threads of the process, and of one call.
#ifndef TARNM_PYTHON_THREADS_H
#define TARNM_PYTHON_THREADS_H

#include <tarncore/tarncore.h>

namespace tarnm::python {

// What the process has set; 0 for the default.
inline int process_threads = 0;

// The library has one setting for the process: a call with a number of its own sets it, and sets it back.
class thread_setting {
public:
    explicit thread_setting(int threads)
        : active_(threads > 0)
    {
        if (active_) tarnSetNumThreads(threads);
    }
    ~thread_setting()
    {
        if (active_) tarnSetNumThreads(process_threads);
    }
    thread_setting(const thread_setting&) = delete;
    thread_setting& operator=(const thread_setting&) = delete;

private:
    bool active_;
};

} // namespace tarnm::python

#endif
