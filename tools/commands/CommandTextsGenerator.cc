// For the build: writes the texts about kestrelhost's command line, as they are installed, below a
// folder.
// usage: command_texts_generator FOLDER

#include <filesystem>
#include <fstream>
#include <iostream>

#include "tools/commands/CommandLine.h"
#include "tools/commands/CommandTexts.h"

int main(int argc, char** argv) {
    using namespace kestrel;
    if (argc != 2) {
        std::cerr << "usage: command_texts_generator FOLDER\n";
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    const struct {
        const char* file;
        void (*print)(std::ostream&, const CLI::App&);
    } texts[] = {
        {"man/man1/kestrelhost.1", printManPage},
        {"bash-completion/completions/kestrelhost", printBashCompletion},
        {"zsh/site-functions/_kestrelhost", printZshCompletion},
    };
    const CommandLine commandLine;
    for (const auto& text : texts) {
        const std::filesystem::path path = folder / text.file;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream out(path);
        text.print(out, commandLine.definition());
        if (!out.flush()) {
            std::cerr << "cannot write " << path << '\n';
            return 1;
        }
    }
    return 0;
}
