#include "platform/UserDefaults.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>

#include "common/AtomicFile.h"
#include "common/Log.h"
#include "common/XdgDirs.h"
#include "platform/JsonText.h"

namespace keyvane {
namespace {

std::function<void(const UserDefaults::Problem&)>& problemHandler() {
    static std::function<void(const UserDefaults::Problem&)> handler;
    return handler;
}

void report(const UserDefaults::Problem& problem) {
    if (problemHandler())
        problemHandler()(problem);
}

// The whole file; the descriptor never blocks, so a pipe in its place cannot hang the start.
std::error_code readAll(const std::filesystem::path& file, std::string& bytes) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return {errno, std::generic_category()};
    std::error_code error;
    char buffer[16384];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n > 0) {
            bytes.append(buffer, static_cast<std::size_t>(n));
        } else if (n == 0) {
            break;
        } else if (errno != EINTR) {
            error = {errno, std::generic_category()};
            break;
        }
    }
    ::close(fd);
    return error;
}

}  // namespace

void UserDefaults::setProblemHandler(std::function<void(const Problem&)> handler) {
    problemHandler() = std::move(handler);
}

UserDefaults::UserDefaults(std::filesystem::path file) : file_(std::move(file)) {}

std::filesystem::path UserDefaults::standardPath() {
    return xdgConfigHome() / "keyvane" / "defaults.json";
}

UserDefaults& UserDefaults::standard() {
    static UserDefaults defaults(standardPath());
    if (defaults.file_ != standardPath())
        defaults = UserDefaults(standardPath());
    return defaults;
}

UserDefaults::FileStamp UserDefaults::stampOfFile() const {
    struct stat info {};
    if (::stat(file_.c_str(), &info) != 0) {
        // Only these say that there is no file; a folder that cannot be searched may hide one.
        if (errno == ENOENT || errno == ENOTDIR)
            return {};
        return {true, errno};
    }
    return {true, 0, static_cast<std::int64_t>(info.st_size),
            static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec,
            static_cast<std::uint64_t>(info.st_ino)};
}

const DefaultsDictionary& UserDefaults::contents() {
    FileStamp stamp = stampOfFile();
    if (loadedStamp_ && *loadedStamp_ == stamp)
        return contents_;

    loadedStamp_ = stamp;
    contents_.clear();
    corrupt_ = false;
    unreadable_ = false;
    if (!stamp.exists)
        return contents_;

    std::string bytes;
    const std::error_code readError =
        stamp.error ? std::error_code(stamp.error, std::generic_category()) : readAll(file_, bytes);
    if (readError) {
        leaveUnreadableFile(readError.message());
        return contents_;
    }
    std::string error;
    std::optional<DefaultsValue> parsed = parseJson(bytes, error);
    DefaultsDictionary* object = parsed ? std::get_if<DefaultsDictionary>(&parsed->value) : nullptr;
    if (!object) {
        corrupt_ = true;
        moveCorruptFileAside(!parsed ? error : "it does not hold a JSON object");
        return contents_;
    }
    contents_ = std::move(*object);
    return contents_;
}

void UserDefaults::moveCorruptFileAside(const std::string& reason) {
    std::filesystem::path aside;
    const std::error_code ec = moveAside(file_, "corrupt", aside);
    const std::string problem = "the settings in " + file_.string() + " cannot be read (" + reason +
                                "); using empty settings. ";
    if (ec) {
        warn(problem + "The file cannot be moved aside (" + ec.message() +
             "), so no settings will be saved.");
        report({Problem::Kind::Corrupt, file_, {}, reason});
        return;
    }
    warn(problem + "The unreadable file was kept as " + aside.string() + ".");
    corrupt_ = false;
    loadedStamp_ = stampOfFile();
    report({Problem::Kind::Corrupt, file_, aside, reason});
}

void UserDefaults::leaveUnreadableFile(const std::string& reason) {
    unreadable_ = true;
    everySaveTold_ = true;  // what it said covers every save it keeps from the file
    warn("the settings in " + file_.string() + " cannot be read (" + reason +
         "); using empty settings. The file is left as it is, and no settings will be saved over "
         "it.");
    report({Problem::Kind::Unreadable, file_, {}, reason});
}

void UserDefaults::reportNotSaved(const std::string& key, const std::string& reason) {
    warn("settings not saved to " + file_.string() + ": " + reason);
    // Once per setting: one the program keeps for itself must not use up the word on the user's.
    if (!everySaveTold_ && unsavedKeys_.insert(key).second)
        report({Problem::Kind::NotSaved, file_, {}, reason, key});
}

const DefaultsValue* UserDefaults::objectForKey(const std::string& key) {
    const DefaultsDictionary& all = contents();
    auto found = all.find(key);
    return found == all.end() ? nullptr : &found->second;
}

std::optional<std::string> UserDefaults::stringForKey(const std::string& key) {
    const DefaultsValue* value = objectForKey(key);
    const std::string* text = value ? value->get<std::string>() : nullptr;
    if (!text)
        return std::nullopt;
    return *text;
}

bool UserDefaults::boolForKey(const std::string& key) {
    const DefaultsValue* value = objectForKey(key);
    if (!value)
        return false;
    if (const bool* b = value->get<bool>())
        return *b;
    return integerForKey(key) != 0;
}

std::int64_t UserDefaults::integerForKey(const std::string& key) {
    const DefaultsValue* value = objectForKey(key);
    if (!value)
        return 0;
    if (const std::int64_t* i = value->get<std::int64_t>())
        return *i;
    const double* d = value->get<double>();
    // Out-of-range reals would make the conversion undefined.
    if (d && std::isfinite(*d) && std::fabs(*d) < 9.2e18)
        return static_cast<std::int64_t>(*d);
    return 0;
}

void UserDefaults::setObject(const std::string& key, DefaultsValue value) {
    contents();
    contents_[key] = std::move(value);  // in memory first: a change refused below stays in effect
    if (unreadable_) {
        // The folder may well take a new file, and replacing this one could lose the user's
        // settings: the refusal has to be ours.
        reportNotSaved(key, unreadableNotSavedReason);
        return;
    }
    if (corrupt_) {
        // The unreadable file stays untouched: it could not be kept aside.
        reportNotSaved(key, "the unreadable settings file is still in the way");
        return;
    }

    if (const std::error_code error = replaceFileAtomically(file_, jsonText(contents_))) {
        reportNotSaved(key, error.message());
        loadedStamp_.reset();  // the next read shows what the file really holds
        return;
    }
    unsavedKeys_.clear();
    loadedStamp_ = stampOfFile();
}

void UserDefaults::setStringDictionaryArray(const std::string& key,
                                            const std::vector<StringDictionary>& array) {
    DefaultsArray values(array.size());
    for (std::size_t i = 0; i < array.size(); ++i) {
        DefaultsDictionary entry;
        for (const auto& [k, v] : array[i])
            entry.emplace(k, DefaultsValue{v});
        values[i].value = std::move(entry);
    }
    setObject(key, {std::move(values)});
}

void UserDefaults::setString(const std::string& key, const std::string& value) {
    setObject(key, {value});
}

void UserDefaults::setBool(const std::string& key, bool value) {
    setObject(key, {value});
}

void UserDefaults::setInteger(const std::string& key, std::int64_t value) {
    setObject(key, {value});
}

}  // namespace keyvane
