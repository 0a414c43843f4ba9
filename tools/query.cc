// The fetch loop behind zelklog query.
//
// Two ways through the records:
//  - plain: the library's formatted fetch alone, for the formatted line in a pipe (the
//    common and fastest case);
//  - per record: the time-ordered fetch hands out the record (its fields, its file), and
//    when a formatted text is wanted the formatted fetch is called right after it: the
//    record is still in its slot, so that call formats exactly this record.
// With --follow or --cursor-file the library's filter matches every record so that the
// end of each record read is known in every file; the user's filter is then tested by
// the tool with IsTrueCondition against a second query that holds only the filter.
#include "tools/query.h"

#include "tools/cursor.h"
#include "tools/dates.h"
#include "tools/errors.h"
#include "tools/follow.h"
#include "tools/output.h"
#include "tools/record_writers.h"
#include "zelkLogWriter.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <set>
#include <unistd.h>

namespace zelktool {

const char *const kEveryRecord = "MSGTYPE >= 0 || CTXTOK = 'ALL'";

namespace {

constexpr uint64_t kMessageTextOnly = 0x800;

enum class Shape { Text, Cat, Json, Raw, Export };

Shape shapeOf(const std::string &name)
{
    if (name == "text")
        return Shape::Text;
    if (name == "cat")
        return Shape::Cat;
    if (name == "json")
        return Shape::Json;
    if (name == "raw")
        return Shape::Raw;
    if (name == "export")
        return Shape::Export;
    failUsage("-o: '" + name + "' is not an output (text, cat, json, raw, export)");
}

bool isFilterCode(uint32_t code)
{
    return code == 1 || code == 2 || (code >= 11 && code <= 20) || code == 26 || code == 43 || code == 44 ||
           code == 49;
}

// The record's file entry: the time-ordered fetch hands out the slot inside the entry.
LogFileEntry *entryOf(ZelkLogMsg *record)
{
    return reinterpret_cast<LogFileEntry *>(reinterpret_cast<char *>(record) -
                                            offsetof(LogFileEntry, pending));
}

std::string pathOf(const LogFileEntry *entry)
{
    return std::string(entry->logDirectory) + entry->fileName;
}

class Grep {
public:
    Grep(const std::string &pattern, bool ignoreCase)
    {
        if (pattern.empty())
            return;
        int error = 0;
        PCRE2_SIZE offset = 0;
        uint32_t options = PCRE2_UTF | PCRE2_MATCH_INVALID_UTF | (ignoreCase ? PCRE2_CASELESS : 0u);
        code_ = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.c_str()), pattern.size(), options, &error,
                              &offset, nullptr);
        if (code_ == nullptr) {
            PCRE2_UCHAR message[256];
            pcre2_get_error_message(error, message, sizeof message);
            failUsage("--grep '" + pattern + "': " + reinterpret_cast<char *>(message) + " at offset " +
                      std::to_string(offset));
        }
        jit_ = pcre2_jit_compile(code_, PCRE2_JIT_COMPLETE) == 0;
        match_ = pcre2_match_data_create_from_pattern(code_, nullptr);
    }
    ~Grep()
    {
        pcre2_match_data_free(match_);
        pcre2_code_free(code_);
    }
    bool active() const { return code_ != nullptr; }
    bool matches(const char *text, size_t length) const
    {
        auto subject = reinterpret_cast<PCRE2_SPTR>(text);
        int rc = jit_ ? pcre2_jit_match(code_, subject, length, 0, 0, match_, nullptr)
                      : pcre2_match(code_, subject, length, 0, 0, match_, nullptr);
        return rc >= 0;
    }

private:
    pcre2_code *code_ = nullptr;
    pcre2_match_data *match_ = nullptr;
    bool jit_ = false;
};

class Runner {
public:
    Runner(const QueryOptions &options, Output &out, Terminal &terminal)
        : options_(options), out_(out), terminal_(terminal), shape_(shapeOf(options.output)),
          grep_(options.grep, options.ignoreCase), progress_(terminal.stdoutIsTerminal() && isatty(2) == 1)
    {
        if (!options.flags.empty()) {
            char *end = nullptr;
            errno = 0;
            flags_ = std::strtoull(options.flags.c_str(), &end, 0);
            if (errno != 0 || end == options.flags.c_str() || *end != '\0')
                failUsage("--flags: '" + options.flags + "' is not a number such as 0xF03");
        }
        tracked_ = options.follow || !options.cursorFile.empty();
        perRecord_ = tracked_ || terminal.colour() || grep_.active() || shape_ == Shape::Json ||
                     shape_ == Shape::Raw || shape_ == Shape::Export || options.fileOrder;
        if (!options.tz.empty()) {
            tzOffset_ = parseZoneOffset(options.tz);
            if (tzOffset_ == ZELKLOG_NO_TZ_ADJUST)
                tzOffset_ = 0;
        }
        if (shape_ == Shape::Export)
            loadProductNames();
    }

    int run();

private:
    std::string userFilter() const;
    bool drain(LogQuery &query);
    bool drainFileOrder(LogQuery &query);
    bool emit(LogQuery &query, ZelkLogMsg *record, const LogFileEntry *entry);
    // The formatted text of the record in the current slot (releases it), or false.
    bool formatCurrent(LogQuery &query, ZelkLogMsg *record, uint64_t flags, char **text);
    bool handleCode(LogQuery &query, uint32_t rc);
    void dropUnopenable(LogQuery &query);
    void warnDamaged(const LogFileEntry *entry);
    void showProgress(const LogQuery &query);
    void loadProductNames();
    bool counted()
    {
        if (printed_ == 0)
            progress_.disable();
        ++printed_;
        return options_.limit < 0 || printed_ < static_cast<uint64_t>(options_.limit);
    }

    const QueryOptions &options_;
    Output &out_;
    Terminal &terminal_;
    Shape shape_;
    Grep grep_;
    Progress progress_;
    uint64_t flags_ = 0;
    bool tracked_ = false;
    bool perRecord_ = false;
    int64_t tzOffset_ = ZELKLOG_NO_TZ_ADJUST;
    QueryRecord filterOnly_;  // tracked: the user's filter, without files
    Cursor cursor_;
    uint64_t printed_ = 0;
    uint64_t handedOut_ = 0;
    uint64_t filesTotal_ = 0;
    std::set<std::string> warned_;
    std::string scratch_;
    std::map<uint64_t, std::string> productNames_;
    DirectoryWatch watch_;
};

std::string Runner::userFilter() const
{
    std::string filter = options_.filter.empty() ? kEveryRecord : options_.filter;
    // The library shifts every date constant by the --tz offset; these are already UTC.
    int64_t shift = tzOffset_ == ZELKLOG_NO_TZ_ADJUST ? 0 : tzOffset_;
    std::string dates;
    if (!options_.since.empty())
        dates += " && STDATE >= " +
                 std::to_string(parseTimeArgument("--since", options_.since, options_.locale) - shift);
    if (!options_.until.empty())
        dates += " && STDATE <= " +
                 std::to_string(parseTimeArgument("--until", options_.until, options_.locale) - shift);
    return dates.empty() ? filter : "(" + filter + ")" + dates;
}

void Runner::loadProductNames()
{
    uint64_t ids[ZELKLOG_MAX_PRODUCTS];
    char *names[ZELKLOG_MAX_PRODUCTS] = {};
    uint64_t count = 0;
    if (zelkLogGetAllProductsEx(ids, ZELKLOG_MAX_PRODUCTS, &count, names) != 0)
        count = count > ZELKLOG_MAX_PRODUCTS ? ZELKLOG_MAX_PRODUCTS : count;
    for (uint64_t i = 0; i < count; ++i) {
        if (names[i] != nullptr) {
            std::string first = names[i];
            first = first.substr(0, first.find(','));
            first.erase(0, first.find_first_not_of(' '));
            first.erase(first.find_last_not_of(' ') + 1);
            productNames_[ids[i]] = first;
            zelkLogFree(names[i]);
        }
    }
}

void Runner::warnDamaged(const LogFileEntry *entry)
{
    std::string path = entry != nullptr ? pathOf(entry) : std::string("a log file");
    if (warned_.insert(path).second)
        std::fprintf(stderr, "zelklog: %s: a damaged record was skipped; reading goes on\n", path.c_str());
}

// A file that cannot be opened any more (removed while the query runs) would make every
// further pass fail on it; it is taken out of the list after one warning.
void Runner::dropUnopenable(LogQuery &query)
{
    LogFileEntry **link = &query.currentFile;
    while (*link != nullptr) {
        LogFileEntry *entry = *link;
        if (entry->pending.timeMs == 0 && zelkLogOs_isvalidfilehandle(&entry->file) == 0 &&
            entry != query.currentFile) {
            std::string path = pathOf(entry);
            if (warned_.insert(path).second)
                std::fprintf(stderr, "zelklog: %s: cannot be opened any more; skipped\n", path.c_str());
            *link = entry->next;
            zelkLogFreeMsg(&entry->pending);
            zelkLogFree(entry);
            continue;
        }
        link = &entry->next;
    }
}

// Codes other than 0 and 9 of a fetch: true to go on fetching, or throws.
bool Runner::handleCode(LogQuery &query, uint32_t rc)
{
    switch (rc) {
    case ZELKLOG_RC_CORRUPT_RECORD:
        warnDamaged(query.currentFile);
        return true;
    case ZELKLOG_RC_END_OF_FILE:
    case ZELKLOG_RC_FAILURE:
        return true;
    case ZELKLOG_RC_FILE_UNOPENABLE:
        dropUnopenable(query);
        return true;
    default:
        failWithCode("query", rc);
    }
}

void Runner::showProgress(const LogQuery &query)
{
    uint64_t left = 0;
    for (const LogFileEntry *entry = query.currentFile; entry != nullptr; entry = entry->next)
        ++left;
    progress_.show(handedOut_, filesTotal_ > left ? filesTotal_ - left : 0, filesTotal_);
}

bool Runner::formatCurrent(LogQuery &query, ZelkLogMsg *record, uint64_t flags, char **text)
{
    const char *locale = options_.locale.empty() ? nullptr : options_.locale.c_str();
    uint32_t rc = zelkLogFetchNextFormattedMessage(&query, 0, locale, flags, text);
    if (rc == 0)
        return true;
    // The record stays in its slot when it cannot be formatted: skip it.
    std::fprintf(stderr, "zelklog: a record could not be formatted: %s\n", describeCode(rc).c_str());
    zelkLogFreeMsg(record);
    return false;
}

// Writes one record in the chosen shape; releases it.  False when --grep rejected it.
bool Runner::emit(LogQuery &query, ZelkLogMsg *record, const LogFileEntry *entry)
{
    const uint32_t kind = record->kind;
    const uint32_t severity = record->kindData.first.severity;
    RecordOrigin origin{entry->fileName, entry->format};
    char *text = nullptr;
    switch (shape_) {
    case Shape::Text:
    case Shape::Cat: {
        if (!formatCurrent(query, record, shape_ == Shape::Cat ? kMessageTextOnly : flags_, &text))
            return false;
        size_t length = std::strlen(text);
        bool keep = !grep_.active() || grep_.matches(text, length);
        if (keep) {
            const char *colour = terminal_.colour() ? severityColour(kind, severity) : nullptr;
            if (colour != nullptr)
                out_.write(colour, std::strlen(colour));
            out_.write(text, length);
            if (colour != nullptr)
                out_.write(kColourReset, std::strlen(kColourReset));
            out_.put('\n');
        }
        zelkLogFree(text);
        return keep;
    }
    case Shape::Json: {
        scratch_.clear();
        appendJsonRecord(scratch_, *record, origin);
        if (options_.withMessage || grep_.active()) {
            if (!formatCurrent(query, record, kMessageTextOnly, &text))
                return false;
            size_t length = std::strlen(text);
            bool keep = !grep_.active() || grep_.matches(text, length);
            if (keep && options_.withMessage) {
                scratch_.append(",\"message\":");
                appendJsonString(scratch_, std::string_view(text, length));
            }
            zelkLogFree(text);
            if (!keep)
                return false;
        } else {
            zelkLogFreeMsg(record);
        }
        scratch_.append("}\n");
        out_.write(scratch_);
        return true;
    }
    case Shape::Export: {
        scratch_.clear();
        auto name = productNames_.find(record->productId);
        appendExportRecord(scratch_, *record, origin,
                           name != productNames_.end() ? std::string_view(name->second) : "zelklog");
        if (!formatCurrent(query, record, kMessageTextOnly, &text))
            return false;
        size_t length = std::strlen(text);
        bool keep = !grep_.active() || grep_.matches(text, length);
        if (keep) {
            appendExportField(scratch_, "MESSAGE", std::string_view(text, length));
            scratch_.push_back('\n');
            out_.write(scratch_);
        }
        zelkLogFree(text);
        return keep;
    }
    case Shape::Raw: {
        char serialized[ZELKLOG_MAX_RECORD_TEXT + 2];
        size_t length = 0;
        uint32_t rc = zelkLogSerializeMsg(record, entry->format, serialized, sizeof serialized, &length);
        if (grep_.active()) {
            if (!formatCurrent(query, record, kMessageTextOnly, &text))
                return false;
            bool keep = grep_.matches(text, std::strlen(text));
            zelkLogFree(text);
            if (!keep)
                return false;
        } else {
            zelkLogFreeMsg(record);
        }
        if (rc != 0) {
            std::fprintf(stderr, "zelklog: %s: a record could not be serialized: %s\n", pathOf(entry).c_str(),
                         describeCode(rc).c_str());
            return false;
        }
        serialized[length] = '\n';
        out_.write(serialized, length + 1);
        return true;
    }
    }
    return false;
}

// Fetches until the query's files are exhausted; false when the run is to end (--lines
// reached or a stop signal).
bool Runner::drain(LogQuery &query)
{
    if (!perRecord_) {
        const char *locale = options_.locale.empty() ? nullptr : options_.locale.c_str();
        const uint64_t flags = shape_ == Shape::Cat ? kMessageTextOnly : flags_;
        for (;;) {
            if (stopRequested)
                return false;
            char *text = nullptr;
            uint32_t rc = zelkLogFetchNextFormattedMessage(&query, 0, locale, flags, &text);
            if (rc == 0) {
                out_.write(text, std::strlen(text));
                out_.put('\n');
                zelkLogFree(text);
                ++handedOut_;
                if (!counted())
                    return false;
                continue;
            }
            if (rc == ZELKLOG_RC_NO_MORE_RECORDS)
                return true;
            if (progress_.due())
                showProgress(query);
            handleCode(query, rc);
        }
    }
    for (;;) {
        if (stopRequested)
            return false;
        if (progress_.due())
            showProgress(query);
        ZelkLogMsg *record = nullptr;
        uint32_t rc = zelkLogFetchNextSortedEntry(&query, &record);
        if (rc == ZELKLOG_RC_NO_MORE_RECORDS)
            return true;
        if (rc == ZELKLOG_RC_FILE_UNOPENABLE && record != nullptr)
            dropUnopenable(query);
        else if (rc != 0) {
            handleCode(query, rc);
            continue;
        }
        ++handedOut_;
        LogFileEntry *entry = entryOf(record);
        if (tracked_) {
            cursor_.advance(entry);
            if (IsTrueCondition(record, &filterOnly_.query) == 0) {
                zelkLogFreeMsg(record);
                continue;
            }
        }
        if (emit(query, record, entry) && !counted())
            return false;
    }
}

// File order: each file in turn is the query's only file, so that the time-ordered and
// formatted fetches hand out its records as they stand in the file.
bool Runner::drainFileOrder(LogQuery &query)
{
    while (query.currentFile != nullptr) {
        LogFileEntry *rest = query.currentFile->next;
        query.currentFile->next = nullptr;
        struct Rejoin {
            LogQuery &query;
            LogFileEntry *rest;
            ~Rejoin()
            {
                LogFileEntry **link = &query.currentFile;
                while (*link != nullptr)
                    link = &(*link)->next;
                *link = rest;
            }
        } rejoin{query, rest};
        if (!drain(query))
            return false;
    }
    return true;
}

int Runner::run()
{
    const std::string filter = userFilter();
    if (tracked_) {
        // The user's filter alone, to test records with; its file list is not needed.
        createQueryOrFail(filterOnly_.query, filter, options_.locale, options_.logDirectory,
                          options_.formatResource, tzOffset_);
        filterOnly_.live = true;
        while (LogFileEntry *entry = filterOnly_.query.currentFile) {
            filterOnly_.query.currentFile = entry->next;
            zelkLogFree(entry);
        }
        if (!options_.cursorFile.empty())
            cursor_.load(options_.cursorFile);
    }
    if (options_.follow) {
        watch_.start();
    } else if (shape_ == Shape::Text || shape_ == Shape::Cat) {
        terminal_.startPager();
    }
    installStopSignals();
    bool goOn = options_.limit != 0;
    bool firstPass = true;
    while (goOn) {
        QueryRecord current;
        createQueryOrFail(current.query, tracked_ ? kEveryRecord : filter, options_.locale,
                          options_.logDirectory, options_.formatResource,
                          tracked_ ? ZELKLOG_NO_TZ_ADJUST : tzOffset_);
        current.live = true;
        filesTotal_ = 0;
        for (const LogFileEntry *entry = current.query.currentFile; entry != nullptr; entry = entry->next)
            ++filesTotal_;
        if (firstPass && filesTotal_ == 0) {
            if (!options_.logDirectory.empty())
                std::fprintf(stderr, "zelklog: %s: no log files\n", options_.logDirectory.c_str());
            else
                std::fprintf(stderr, "zelklog: no log files in the directories that %s names\n",
                             configFileName().c_str());
        }
        firstPass = false;
        if (tracked_)
            cursor_.attach(current.query);
        if (options_.follow) {
            if (!options_.logDirectory.empty())
                watch_.add(options_.logDirectory);
            for (const LogFileEntry *entry = current.query.currentFile; entry != nullptr; entry = entry->next)
                watch_.add(entry->logDirectory);
        }
        goOn = options_.fileOrder ? drainFileOrder(current.query) : drain(current.query);
        if (tracked_)
            cursor_.detach();
        current.destroy();
        progress_.clear();
        out_.flush();
        if (!options_.cursorFile.empty() && cursor_.changed()) {
            cursor_.save(options_.cursorFile);
            cursor_.clearChanged();
        }
        if (!options_.follow || !goOn || stopRequested)
            break;
        watch_.wait();
        goOn = !stopRequested;
    }
    return kExitOk;
}

}  // namespace

void createQueryOrFail(LogQuery &query, const std::string &filter, const std::string &locale,
                       const std::string &logDirectory, const std::string &formatResource, int64_t tzOffset)
{
    uint32_t rc =
        zelkLogCreateQueryEx2(filter.c_str(), locale.empty() ? nullptr : locale.c_str(),
                              logDirectory.empty() ? nullptr : logDirectory.c_str(),
                              formatResource.empty() ? nullptr : formatResource.c_str(), tzOffset, &query);
    if (rc == 0)
        return;
    if (rc != ZELKLOG_RC_BAD_ARGUMENT)
        zelkLogDestroyQuery(&query);
    if (rc == ZELKLOG_RC_FAILURE)
        throw ToolError(kExitFailure, "filter: code 1 (a syntax error) in '" + filter + "'");
    if (isFilterCode(rc))
        failWithCode("filter", rc, filterErrorPosition(filter, rc));
    if (rc == ZELKLOG_RC_BAD_ARGUMENT && !logDirectory.empty())
        failWithCode("--log-dir " + logDirectory, rc);
    failWithCode("configuration " + configFileName(), rc);
}

int runQuery(const QueryOptions &options)
{
    if (options.fileOrder && options.follow)
        failUsage("--file-order and --follow cannot be combined");
    Terminal terminal(options.terminal);
    Output out;
    Runner runner(options, out, terminal);
    int rc = runner.run();
    out.flush();
    return rc;
}

}  // namespace zelktool
