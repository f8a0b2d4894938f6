// kowen: the export filter on the command line. Runs one command, reports failures.

#include "cancel.h"
#include "command_line.h"
#include "failure.h"
#include "terminal_text.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

namespace {

int Run(int argc, char **argv) {
    using namespace kowen::cli;
    try {
        return RunCommandLine({argv + 1, argv + argc});
    } catch (const ReaderGone &) {
        EndBySignal(SIGPIPE);
    } catch (const Failure &failure) {
        if (CancelSignal() != 0) {
            PrintError("cancelled");
            EndBySignal(CancelSignal());
        }
        PrintError(failure.what());
        if (!failure.Advice().empty())
            std::fprintf(stderr, "%s\n", failure.Advice().c_str());
        return failure.Status();
    } catch (const std::bad_alloc &) {
        PrintError("not enough memory");
        return kExitFailure;
    } catch (const std::exception &unexpected) {
        PrintError(unexpected.what());
        return kExitFailure;
    }
}

} // namespace

int main(int argc, char **argv) {
    kowen::cli::InstallCancelHandlers();
    return argc > 0 ? Run(argc, argv) : kowen::cli::kExitUsage;
}
