#include "tools/input/InputFile.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iterator>
#include <utility>

#include "tools/base/FolderContent.h"
#include "tools/base/PeekedSource.h"
#include "tools/base/Utf16Source.h"
#include "tools/input/ImportedInput.h"
#include "tools/input/LogFile.h"
#include "tools/input/TraceFile.h"
#include "tools/input/archive/ArchiveReader.h"
#include "tools/input/archive/BugReportArchive.h"
#include "tools/input/archive/DecompressedSource.h"
#include "tools/input/bugreport/BugReport.h"
#include "tools/input/exports/BenchmarkResults.h"
#include "tools/input/exports/StartInfoReader.h"
#include "tools/input/perfetto/FtraceText.h"
#include "tools/input/perfetto/PerfettoTrace.h"

namespace kestrel {

namespace {

// What the bytes of a source went through before they could be read.
struct Layers {
    bool isDecompressed = false;
    std::string encoding = {};  // empty: UTF-8
};

void append(FoundInputs& all, FoundInputs more) {
    std::ranges::move(more, std::back_inserter(all));
}

FoundInputs only(const std::string& name, std::unique_ptr<RecognisedInput> input) {
    FoundInputs found;
    found.push_back({name, std::move(input)});
    return found;
}

FoundInputs passedOver(const std::string& name, const std::string& why) {
    ImportedInput nothing;
    nothing.summary.notes.push_back({InputNote::Kind::passedOver, 1, why});
    return only(name, recognised(std::move(nothing)));
}

FoundInputs readTrace(ByteSource& source, const InputOptions& options) {
    if (!options.takesTraces) {
        throw NoInput(source.name(), "an event trace, which is what import prints");
    }
    return only(source.name(), readTraceFile(source));
}

FoundInputs readBenchmark(ByteSource& source, const InputOptions& options) {
    if (!options.package) {
        throw NoInput(source.name(),
                      "benchmark results do not name the app; give it with --package NAME");
    }
    return only(source.name(), recognised(readBenchmarkResults(source, *options.package)));
}

FoundInputs findInSource(ByteSource& source, const InputOptions& options, const Layers& layers);

FoundInputs decompress(PeekedSource& source, const InputOptions& options, Layers layers) {
    if (std::exchange(layers.isDecompressed, true)) {
        throw NoInput(source.name(), "compressed more than once; decompress it first");
    }
    DecompressedSource content(source, source.peek(KS_TELLING_SIZE));
    return findInSource(content, options, layers);
}

FoundInputs decode(PeekedSource& source, const InputOptions& options, Layers layers) {
    layers.encoding = "UTF-16";
    Utf16Source text(source, encodingOf(source.peek(KS_TELLING_SIZE)));
    return findInSource(text, options, layers);
}

// What says nothing is a trace without objects, where traces are taken: import can print one.
InputKind kindFor(const InputOptions& options, std::string_view beginning) {
    return options.takesTraces && options.takesEmpty && saysNothing(beginning)
               ? InputKind::eventTrace
               : inputKindOf(beginning);
}

FoundInputs findInSource(ByteSource& source, const InputOptions& options, const Layers& layers) {
    PeekedSource ahead(source);
    const std::string_view beginning = ahead.peek(KS_TELLING_SIZE);
    const InputKind kind = kindFor(options, beginning);
    if (beginning.starts_with(KS_UTF8_MARK)) {
        ahead.skip(KS_UTF8_MARK.size());
    }
    switch (kind) {
        case InputKind::archive:
            throw NoInput(ahead.name(),
                          layers.isDecompressed
                              ? "an archive that is compressed as a whole is not read; "
                                "decompress it first"
                              : "an archive inside another is not read; unpack it");
        case InputKind::compressed:
            return decompress(ahead, options, layers);
        case InputKind::utf16Text:
            return decode(ahead, options, layers);
        case InputKind::eventTrace:
            return readTrace(ahead, options);
        case InputKind::logExport:
            return only(ahead.name(), readLogExportFile(ahead));
        case InputKind::bugReport:
            return readBugReport(ahead);
        case InputKind::startInfo:
            return only(ahead.name(), recognised(readStartInfo(ahead)));
        case InputKind::perfettoTrace:
            return only(ahead.name(), recognised(readPerfettoTrace(ahead)));
        case InputKind::ftrace:
            return only(ahead.name(), recognised(readFtrace(ahead)));
        case InputKind::benchmark:
            return readBenchmark(ahead, options);
        case InputKind::logText:
            break;
    }
    return only(ahead.name(), readLogFile(ahead, layers.encoding));
}

// The inputs of several files and behind them, so that they decide nothing, the files that are
// none, which are passed over unless all are.
class Collection {
 public:
    void add(const std::string& name, const std::function<FoundInputs()>& find) {
        try {
            append(mFound, find());
            mIsAny = true;
        } catch (const NoInput& none) {
            mFirstWhy = mFirstWhy.empty() ? name + ": " + none.why() : mFirstWhy;
            append(mPassedOver, passedOver(name, none.why()));
        }
    }

    void sortByName() { std::ranges::stable_sort(mFound, {}, &FoundInput::name); }

    FoundInputs take(const std::string& name, const std::string& what) && {
        if (!mIsAny) {
            throw NoInput(name, what + " in which no file is an input" +
                                    (mFirstWhy.empty() ? "" : "; " + mFirstWhy));
        }
        append(mFound, std::move(mPassedOver));
        return std::move(mFound);
    }

 private:
    FoundInputs mFound;
    FoundInputs mPassedOver;
    bool mIsAny = false;
    std::string mFirstWhy;
};

// Of a file among others, which would be a strange trace if it were empty.
InputOptions ofPart(InputOptions options) {
    options.takesEmpty = false;
    return options;
}

// A bug report's text, or all inputs of another archive in the order of their names.
FoundInputs findInArchive(FileSource& archive, const InputOptions& options) {
    if (const auto report = bugReportMember(archive)) {
        ArchiveReader reader(archive);
        reader.find(*report);
        return findInSource(reader.content(), options, {});
    }
    Collection collection;
    forEachMember(archive, [&](const ArchiveMember& member, ByteSource& content) {
        collection.add(content.name(), [&] {
            if (!member.obstacle.empty()) {
                throw NoInput(content.name(), member.obstacle);
            }
            return findInSource(content, ofPart(options), {});
        });
    });
    collection.sortByName();
    return std::move(collection).take(archive.name(), "an archive");
}

FoundInputs findInFolder(const std::string& folder, const InputOptions& options,
                         ReadObserver* observer) {
    Collection collection;
    for (const std::string& name : filesIn(folder)) {
        collection.add(name, [&] { return findInputs(name, ofPart(options), observer); });
    }
    return std::move(collection).take(folder, "a folder");
}

}  // namespace

FoundInputs findInputs(const std::string& name, const InputOptions& options,
                       ReadObserver* observer) {
    std::error_code unknown;
    if (std::filesystem::is_directory(name, unknown)) {
        return findInFolder(name, options, observer);
    }
    FileSource file(name);
    file.setObserver(observer);
    return findInputs(file, options);
}

FoundInputs findInputs(FileSource& file, const InputOptions& options) {
    PeekedSource ahead(file);
    if (inputKindOf(ahead.peek(KS_TELLING_SIZE)) != InputKind::archive) {
        return findInSource(ahead, options, {});
    }
    if (file.isRegular()) {
        file.rewind();
        return findInArchive(file, options);
    }
    const auto copy = spooled(ahead, file.name());
    return findInArchive(*copy, options);
}

}  // namespace kestrel
