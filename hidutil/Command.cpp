#include "hidutil/Command.h"

#include "hidutil/Keymap.h"
#include "hidutil/Messages.h"
#include "hidutil/Output.h"
#include "hidutil/Property.h"
#include "hidutil/RecordStore.h"

namespace keyvane::hidutil {
namespace {

struct Options {
    enum class Action { Help, Set, Get, List };
    Action action = Action::Help;
    std::optional<std::string> set, get, matching;
    bool keyboardsOnly = false;
};

// The options after the command word, each at most once; nothing else is accepted.
std::optional<Options> readOptions(const std::vector<std::string>& args) {
    Options options;
    if (args.size() == 1 && (args[0] == text::optionHelp || args[0] == text::optionHelpShort))
        return options;
    if (args.empty())
        return std::nullopt;
    const bool property = args[0] == text::commandProperty;
    if (!property && args[0] != text::commandList)
        return std::nullopt;
    for (std::size_t i = 1; i < args.size(); i += 2) {
        if (i + 1 >= args.size())
            return std::nullopt;
        const std::string& option = args[i];
        const std::string& value = args[i + 1];
        std::optional<std::string>* slot = nullptr;
        if (option == text::optionMatching)
            slot = &options.matching;
        else if (property && option == text::optionSet)
            slot = &options.set;
        else if (property && option == text::optionGet)
            slot = &options.get;
        else if (!property && option == text::optionMatchShort && value == text::matchKeyboard &&
                 !options.keyboardsOnly)
            options.keyboardsOnly = true;
        else
            return std::nullopt;
        if (slot) {
            if (*slot)
                return std::nullopt;
            *slot = value;
        }
    }
    if (property) {
        if (options.set.has_value() == options.get.has_value())
            return std::nullopt;
        options.action = options.set ? Options::Action::Set : Options::Action::Get;
    } else {
        if (options.keyboardsOnly && options.matching)
            return std::nullopt;
        options.action = Options::Action::List;
    }
    return options;
}

bool matches(const Matching& matching, const ServiceRow& row) {
    const auto same = [](const auto& wanted, const auto& actual) {
        return !wanted || *wanted == actual;
    };
    return same(matching.productId, row.productId) && same(matching.vendorId, row.vendorId) &&
           same(matching.locationId, row.locationId) && same(matching.usagePage, row.usagePage) &&
           same(matching.usage, row.usage) && same(matching.transport, row.transport) &&
           same(matching.product, row.product);
}

std::string positionText(std::size_t offset) {
    return std::to_string(offset + 1);
}

void reportTextError(std::ostream& err, std::string_view what, const TextError& error) {
    err << fill(text::errorText, {what, positionText(error.position), error.expected});
}

// A device as hidutil sees it: what it is, and whether its original keymap makes it a keyboard.
struct Service {
    KeyDevice* device = nullptr;
    ServiceRow row;
    bool keyboard = false;
};

class Runner {
  public:
    Runner(DeviceSource& source, const std::optional<std::filesystem::path>& folder,
           std::ostream& out, std::ostream& err)
        : source_(source), folder_(folder), out_(out), err_(err) {}

    int run(const Options& options) {
        switch (options.action) {
            case Options::Action::Help:
                out_ << text::usage;
                return exitSuccess;
            case Options::Action::Set:
                return set(options);
            case Options::Action::Get:
                return get(options);
            case Options::Action::List:
                return list(options);
        }
        return exitFailure;
    }

  private:
    std::optional<Matching> readMatchingOption(const Options& options) {
        if (!options.matching)
            return Matching{};
        auto matching = readMatching(*options.matching);
        if (!matching.value)
            reportTextError(err_, text::whatMatching, matching.error);
        return matching.value;
    }

    // Scans the devices; false (after saying why) when some cannot be opened.
    bool scan() {
        scan_ = source_.scan();
        if (scan_.error) {
            err_ << fill(text::errorNoDevices, {text::inputFolder, scan_.error.message()});
            return false;
        }
        for (const auto& failure : scan_.failures)
            err_ << fill(text::errorOpen, {failure.node, failure.error.message()});
        if (!scan_.failures.empty())
            err_ << text::errorNeedsInputGroup;
        RecordStore store(folder_.value_or(std::filesystem::path()));
        for (const auto& device : scan_.devices) {
            Service service;
            service.device = device.get();
            std::vector<KeymapEntry> keymap;
            if (!device->readKeymap(keymap)) {
                std::optional<DeviceRecord> record;
                if (folder_)
                    record = store.load(device->info());
                service.keyboard = isKeyboard(originalKeymap(keymap, record ? &*record : nullptr));
            }
            service.row = describeService(device->info(), service.keyboard);
            services_.push_back(std::move(service));
        }
        return scan_.failures.empty();
    }

    std::vector<Service*> keyboardsMatching(const Matching& matching) {
        std::vector<Service*> found;
        for (Service& service : services_)
            if (service.keyboard && matches(matching, service.row))
                found.push_back(&service);
        return found;
    }

    int set(const Options& options) {
        const auto mappings = readUserKeyMapping(*options.set);
        if (!mappings.value) {
            reportTextError(err_, text::whatSet, mappings.error);
            return exitFailure;
        }
        const auto matching = readMatchingOption(options);
        if (!matching)
            return exitFailure;
        if (!folder_) {
            err_ << text::errorNoStateDir;
            return exitFailure;
        }
        bool ok = scan();
        const auto targets = keyboardsMatching(*matching);
        if (options.matching && targets.empty()) {
            err_ << fill(text::errorNoMatch, {*options.matching});
            return exitFailure;
        }
        RecordStore store(*folder_);
        // Two runs at once would each remember the other's changes as originals.
        const auto lock = store.lock();
        if (!lock) {
            err_ << fill(text::errorState, {store.folder().string(), lock.error.message()});
            return exitFailure;
        }
        std::vector<std::uint64_t> changed;
        for (Service* target : targets) {
            const DeviceInfo& info = target->device->info();
            if (auto failure = installMappings(*target->device, *mappings.value, store)) {
                if (failure.step == InstallFailure::Step::Remember)
                    err_ << fill(text::errorState,
                                 {store.folder().string(), failure.error.message()});
                else
                    err_ << fill(text::errorDevice,
                                 {info.node, info.name, failure.error.message()});
                ok = false;
                continue;
            }
            changed.push_back(info.registryId);
        }
        if (!ok)
            return exitFailure;
        if (options.matching) {
            out_ << formatMatchedEcho(changed, std::vector(changed.size(), *mappings.value));
        } else {
            if (auto error = store.saveAllKeyboards(*mappings.value)) {
                err_ << fill(text::errorState, {store.folder().string(), error.message()});
                return exitFailure;
            }
            out_ << formatEcho(*mappings.value);
        }
        return exitSuccess;
    }

    int get(const Options& options) {
        if (*options.get != text::userKeyMapping) {
            err_ << fill(text::errorUnknownGetKey, {*options.get});
            return exitFailure;
        }
        const auto matching = readMatchingOption(options);
        if (!matching)
            return exitFailure;
        if (!options.matching) {
            std::optional<std::vector<Mapping>> mappings;
            if (folder_)
                mappings = RecordStore(*folder_).loadAllKeyboards();
            out_ << (mappings ? formatMappingList(*mappings) : std::string(text::listNull));
            return exitSuccess;
        }
        const bool ok = scan();
        const auto targets = keyboardsMatching(*matching);
        if (targets.empty()) {
            err_ << fill(text::errorNoMatch, {*options.matching});
            return exitFailure;
        }
        std::vector<std::uint64_t> ids;
        std::vector<std::vector<Mapping>> values;
        for (Service* target : targets) {
            std::optional<DeviceRecord> record;
            if (folder_)
                record = RecordStore(*folder_).load(target->device->info());
            ids.push_back(target->device->info().registryId);
            values.push_back(record ? record->mappings : std::vector<Mapping>{});
        }
        out_ << formatMatchedEcho(ids, values);
        return ok ? exitSuccess : exitFailure;
    }

    int list(const Options& options) {
        const auto matching = readMatchingOption(options);
        if (!matching)
            return exitFailure;
        const bool ok = scan();
        std::vector<ServiceRow> rows;
        for (const Service& service : services_)
            if ((!options.keyboardsOnly || service.keyboard) && matches(*matching, service.row))
                rows.push_back(service.row);
        out_ << formatServiceTable(rows);
        if (!options.keyboardsOnly && !options.matching)
            out_ << '\n' << formatDeviceTable(rows);
        return ok ? exitSuccess : exitFailure;
    }

    DeviceSource& source_;
    const std::optional<std::filesystem::path>& folder_;
    std::ostream& out_;
    std::ostream& err_;
    DeviceScan scan_;
    std::vector<Service> services_;
};

}  // namespace

int runCommand(const std::vector<std::string>& args, DeviceSource& devices,
               const std::optional<std::filesystem::path>& recordFolder, std::ostream& out,
               std::ostream& err) {
    const auto options = readOptions(args);
    if (!options) {
        err << text::usage;
        return exitUsage;
    }
    return Runner(devices, recordFolder, out, err).run(*options);
}

}  // namespace keyvane::hidutil
