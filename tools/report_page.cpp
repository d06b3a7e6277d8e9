#include "tools/report_page.h"

#include "tools/report.h"

#ifdef QX_REPORT_PAGE
// The assembler takes the file in as it is.
asm(".pushsection .rodata\n"
    ".hidden qx_report_page_begin\n"
    ".hidden qx_report_page_end\n"
    ".global qx_report_page_begin\n"
    ".global qx_report_page_end\n"
    "qx_report_page_begin:\n"
    ".incbin \"" QX_REPORT_PAGE
    "\"\n"
    "qx_report_page_end:\n"
    ".popsection\n");

extern "C" {
__attribute__((visibility("hidden"))) extern const char qx_report_page_begin[];
__attribute__((visibility("hidden"))) extern const char qx_report_page_end[];
}
#endif

namespace QXTools {

std::string_view ReportPage() {
#ifdef QX_REPORT_PAGE
  return {qx_report_page_begin, static_cast<size_t>(qx_report_page_end - qx_report_page_begin)};
#else
  return {};
#endif
}

bool ReportsAreBuilt() {
  return !ReportPage().empty();
}

}  // namespace QXTools
