#include "tools/input/InputFile.h"

#include "tools/base/FileContent.h"
#include "tools/input/LogFile.h"
#include "tools/input/TraceFile.h"

namespace kestrel {

std::unique_ptr<RecognisedInput> recogniseFile(const std::string& name, InputKinds kinds) {
    FileReader file(name);
    std::string skipped;  // the lines in front of the first that says something
    std::string first;    // empty when no line does
    std::size_t number = 0;
    while (file.readLine(first)) {
        ++number;
        if (!isSkippedTraceLine(first)) {
            break;
        }
        skipped += first + '\n';
    }
    if (isTrace(kinds, first, name, number)) {
        return readTraceFile(file, first, number);
    }
    return readLogFile(file, skipped + first + '\n');
}

}  // namespace kestrel
