// The choice of a format, and times.
#include "tools/export/Exporter.h"

#include "tools/base/NumberText.h"
#include "tools/export/ValueLines.h"
#include "tools/export/WideTable.h"

namespace qztool {

char* Exporter::writeTime(char* to, std::uint64_t timestamp) const {
    return writeSecondsSince(to, timestamp, d_options.relative ? d_start : 0);
}

std::unique_ptr<Exporter> makeExporter(ExportOptions const& options, SignalSet const& signals, OutputBuffer& output) {
    if (options.format == ExportFormat::Wide)
        return std::make_unique<WideTable>(options, signals, output);
    return std::make_unique<ValueLines>(options, signals, output);
}

} // namespace qztool
