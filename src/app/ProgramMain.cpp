#include "ProgramMain.h"

#include <csignal>
#include <exception>
#include <new>
#include <ostream>

namespace lumenary::ProgramMain {

int reportingFailures(const std::function<int()>& body, std::ostream& out, std::ostream& err) {
    try {
        const int code = body();
        out.flush();
        return code;
    } catch (const std::bad_alloc&) {
        out.flush();
        err << "lumenary: not enough memory to finish.\n";
    } catch (const std::exception& error) {
        out.flush();
        err << "lumenary: " << error.what() << '\n';
    }
    return 1;
}

void survivesFileSizeLimit() {
    std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace lumenary::ProgramMain
