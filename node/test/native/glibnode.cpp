// Runs Node.js as Electron's main process does on Linux: the main thread is in GLib's default main
// loop, and a second thread waits for libuv's file descriptor and asks the main thread to serve it.
// The command line is that of node itself.

#include <glib.h>
#include <node.h>
#include <poll.h>
#include <uv.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

/// Serves the libuv loop of one environment from GLib's default main context.
class GlibLoop
{
public:
    GlibLoop(const node::CommonEnvironmentSetup &setup, node::MultiIsolatePlatform *platform)
        : m_setup(setup), m_platform(platform)
    {
        uv_sem_init(&m_isServed, 1);
    }
    ~GlibLoop()
    {
        uv_sem_destroy(&m_isServed);
        g_main_loop_unref(m_mainLoop);
    }
    GlibLoop(const GlibLoop &) = delete;
    GlibLoop &operator=(const GlibLoop &) = delete;

    /// Returns when the environment has nothing left to do.
    void run()
    {
        std::thread waiting([this] { waitForEvents(); });
        g_main_loop_run(m_mainLoop);
        m_isFinished = true;
        uv_sem_post(&m_isServed);
        waiting.join();
    }

private:
    void waitForEvents()
    {
        uv_loop_t *loop = m_setup.event_loop();
        for (uv_sem_wait(&m_isServed); !m_isFinished; uv_sem_wait(&m_isServed)) {
            pollfd events{uv_backend_fd(loop), POLLIN, 0};
            while (poll(&events, 1, uv_backend_timeout(loop)) < 0 && errno == EINTR) {}
            g_idle_add_full(G_PRIORITY_DEFAULT, &GlibLoop::serve, this, nullptr);
        }
    }

    static gboolean serve(gpointer self)
    {
        static_cast<GlibLoop *>(self)->serve();
        return G_SOURCE_REMOVE;
    }

    void serve()
    {
        if (!g_main_context_is_owner(nullptr)) {
            g_error("GLib's default main context is run by a thread that does not own it");
        }
        uv_run(m_setup.event_loop(), UV_RUN_NOWAIT);
        if (isAlive() || isAliveAfterTasks()) {
            uv_sem_post(&m_isServed);
        } else {
            g_main_loop_quit(m_mainLoop);
        }
    }

    bool isAlive() const { return uv_loop_alive(m_setup.event_loop()) != 0; }

    bool isAliveAfterTasks()
    {
        m_platform->DrainTasks(m_setup.isolate());
        if (!isAlive()) {
            node::EmitProcessBeforeExit(m_setup.env()).FromMaybe(false);
        }
        return isAlive();
    }

    const node::CommonEnvironmentSetup &m_setup;
    node::MultiIsolatePlatform *m_platform;
    GMainLoop *m_mainLoop = g_main_loop_new(nullptr, FALSE);
    uv_sem_t m_isServed{};
    std::atomic<bool> m_isFinished{false};
};

void print(const std::vector<std::string> &errors)
{
    for (const std::string &error : errors) {
        std::fprintf(stderr, "%s\n", error.c_str());
    }
}

int runEnvironment(const node::InitializationResult &process)
{
    std::vector<std::string> errors;
    const auto setup = node::CommonEnvironmentSetup::Create(process.platform(), &errors,
                                                            process.args(), process.exec_args());
    if (!setup) {
        print(errors);
        return EXIT_FAILURE;
    }
    const v8::Locker locker(setup->isolate());
    const v8::Isolate::Scope isolateScope(setup->isolate());
    const v8::HandleScope handleScope(setup->isolate());
    const v8::Context::Scope contextScope(setup->context());
    int exitCode = EXIT_FAILURE;
    if (!node::LoadEnvironment(setup->env(), node::StartExecutionCallback()).IsEmpty()) {
        GlibLoop(*setup, process.platform()).run();
        exitCode = node::EmitProcessExit(setup->env()).FromMaybe(EXIT_FAILURE);
    }
    node::Stop(setup->env());
    return exitCode;
}

} // namespace

int main(int argc, char **argv)
{
    char **arguments = uv_setup_args(argc, argv);
    const auto process = node::InitializeOncePerProcess({arguments, arguments + argc});
    print(process->errors());
    if (process->early_return()) {
        return process->exit_code();
    }
    const int exitCode = runEnvironment(*process);
    node::TearDownOncePerProcess();
    return exitCode;
}
