#include "kept_outputs.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iostream>
#include <sys/wait.h>
#include <unistd.h>

#include "compressed_file.h"
#include "night_svg.h"
#include "report_html.h"
#include "sim_driver.h"
#include "text_file.h"
#include "variant_runs.h"

namespace OHOS::Sim {

namespace {

std::string InDir(const std::string& dir, const std::string& name)
{
    return dir + "/" + name;
}

bool Exists(const std::string& path)
{
    std::error_code ec;
    return std::filesystem::exists(path, ec);
}

// Removes the compressed form of a file the run wrote plain: it is left from an earlier run.
bool RemoveStaleCompressedForms(const std::string& runDir, std::string& error)
{
    for (const std::string& name : {TRACE_FILE, TIMELINE_FILE}) {
        if (Exists(InDir(runDir, name)) && !RemoveAll(InDir(runDir, name) + GZIP_SUFFIX, error)) {
            return false;
        }
    }
    return true;
}

// The folder's path as a shell word: quoted unless it is made of plain characters only.
std::string ShellWord(const std::string& text)
{
    const bool plain = !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || std::string("-_./+=:,@").find(c) != std::string::npos;
    });
    if (plain) {
        return text;
    }
    std::string quoted = "'";
    for (char c : text) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

// Puts a paragraph under the page's title saying what was dropped and how it comes back.
bool AddRestoreNote(const std::string& runDir, std::string& error)
{
    const std::string path = InDir(runDir, REPORT_FILE);
    std::string page;
    const std::string title = "</h1>\n";
    const size_t at = ReadTextFile(path, page) ? page.find(title) : std::string::npos;
    if (at == std::string::npos) {
        error = "'" + path + "' is missing or has no title to put the restore note under";
        return false;
    }
    const std::string note = "<p class=\"note\">Kept: the metrics, the summary, the scenario, this page and the "
                             "trace (compressed). The timeline, the log and the data folder come back with <code>" +
                             EscapeHtml(RestoreCommand(runDir)) + "</code>.</p>\n";
    page.insert(at + title.size(), note);
    return WriteTextFileAtomically(path, page, error);
}

bool KeepLean(const std::string& runDir, std::string& error)
{
    for (const std::string& name : {TIMELINE_FILE, LOG_FILE, DATA_DIR}) {
        if (!RemoveAll(InDir(runDir, name), error)) {
            return false;
        }
    }
    return CompressFileInPlace(InDir(runDir, TRACE_FILE), error) && AddRestoreNote(runDir, error);
}

bool KeepAll(const std::string& runDir, bool compress, std::string& error)
{
    if (!compress) {
        return true;
    }
    return CompressFileInPlace(InDir(runDir, TRACE_FILE), error) &&
           CompressFileInPlace(InDir(runDir, TIMELINE_FILE), error);
}

} // namespace

bool ParseKeepOutputs(const std::string& text, KeepOutputs& keep)
{
    if (text == "all" || text == "lean") {
        keep = text == "all" ? KeepOutputs::ALL : KeepOutputs::LEAN;
        return true;
    }
    return false;
}

bool ApplyOutputChoice(const std::string& runDir, const OutputChoice& choice, std::string& error)
{
    if (!RemoveStaleCompressedForms(runDir, error)) {
        return false;
    }
    return choice.keep == KeepOutputs::LEAN ? KeepLean(runDir, error) : KeepAll(runDir, choice.compress, error);
}

bool HoldsFullOutputs(const std::string& runDir)
{
    return Exists(StoredFormOf(InDir(runDir, TIMELINE_FILE)));
}

std::string RestoreCommand(const std::string& runDir)
{
    return "sleepsim restore " + ShellWord(runDir);
}

std::string StoredTracePath(const std::string& runDir)
{
    return StoredFormOf(InDir(runDir, TRACE_FILE));
}

bool RestoreRunFolder(const std::string& runDir, const Scenario& scenario, const Trace& trace, std::string& error)
{
    std::cout.flush();
    std::cerr.flush();
    const pid_t child = fork();
    if (child == 0) {
        SimOptions options;
        options.outDir = runDir;
        options.noSync = true;
        SimResult result = RunTrace(scenario, trace, options);
        std::string comparisons;
        result.ok = result.ok && AddVariantComparisons(runDir, result.metrics, comparisons, result.error);
        if (!result.ok) {
            std::cerr << "sleepsim: " << result.error << "\n" << std::flush;
        }
        _exit(result.ok ? 0 : 1);
    }
    int status = 0;
    const bool replayed =
        child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (!replayed) {
        error = "the replay into '" + runDir + "' did not finish";
        return false;
    }
    return RemoveStaleCompressedForms(runDir, error);
}

} // namespace OHOS::Sim
