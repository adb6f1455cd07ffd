#include "hidutil/Command.h"

#include <algorithm>

#include "common/AtomicFile.h"
#include "hidutil/Installer.h"
#include "hidutil/Keymap.h"
#include "hidutil/Messages.h"
#include "hidutil/Output.h"
#include "hidutil/Property.h"
#include "hidutil/RecordStore.h"
#include "hidutil/Status.h"

namespace keyvane::hidutil {
namespace {

using Options = CommandLine;

}  // namespace

// The options after the command word, each at most once; nothing else is accepted.
std::optional<CommandLine> parseCommandLine(const std::vector<std::string>& args) {
    Options options;
    if (args.size() == 1 && (args[0] == text::optionHelp || args[0] == text::optionHelpShort))
        return options;
    if (args.empty())
        return std::nullopt;
    if (args[0] == text::commandStatus) {
        options.action = Options::Action::Status;
        options.json = args.size() == 2 && args[1] == text::optionJson;
        if (args.size() > 2 || (args.size() == 2 && !options.json))
            return std::nullopt;
        return options;
    }
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

namespace {

std::string positionText(std::size_t offset) {
    return std::to_string(offset + 1);
}

void reportTextError(std::ostream& err, std::string_view what, const TextError& error) {
    err << fill(text::errorText, {what, positionText(error.position), error.expected});
}

bool isPermission(const std::error_code& error) {
    return error == std::errc::permission_denied || error == std::errc::operation_not_permitted;
}

// A device as hidutil sees it: what it is, and whether its original keymap makes it a keyboard.
struct Service {
    Target target;
    ServiceRow row;
    bool keyboard = false;
};

class Runner {
  public:
    Runner(DeviceSource& source, const std::optional<std::filesystem::path>& folder,
           ReadBack readBack, std::ostream& out, std::ostream& err)
        : source_(source), folder_(folder), readBack_(readBack), out_(out), err_(err) {}

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
            case Options::Action::Status:
                return status(options);
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

    // Scans the devices and reads each keymap and record once; false (after saying why) when a
    // device that may be a keyboard cannot be opened. Nodes whose device is gone, and others that
    // are no keyboard, are only noted.
    bool scan() {
        scan_ = source_.scan();
        if (scan_.error) {
            err_ << fill(text::errorNoDevices, {text::inputFolder, scan_.error.message()});
            unopened_.push_back(
                {std::string(text::inputFolder), isPermission(scan_.error), scan_.error.message()});
            return false;
        }
        bool ok = true, permission = false;
        for (const auto& unopened : scan_.unopened) {
            const auto& [node, error, maybeKeyboard] = unopened;
            if (deviceIsGone(error)) {
                err_ << fill(text::noteNodeGone, {node, error.message()});
            } else if (!maybeKeyboard) {
                err_ << fill(text::noteNotKeyboard, {node, error.message()});
            } else {
                err_ << fill(text::errorOpen, {node, error.message()});
                unopened_.push_back({node, isPermission(error), error.message()});
                ok = false;
                permission = permission || isPermission(error);
            }
        }
        if (permission)
            err_ << text::errorNeedsInputGroup;
        if (folder_ && !scan_.bootId.empty())
            store_.emplace(*folder_, scan_.bootId);
        for (const auto& device : scan_.devices)
            services_.push_back(describe(*device));
        return ok;
    }

    Service describe(KeyDevice& device) {
        Service service;
        service.target.device = &device;
        std::vector<KeymapEntry> keymap;
        if (!device.readKeymap(keymap)) {
            service.target.current = toKeymap(keymap);
            if (store_ && !device.info().instance.empty())
                service.target.recordError =
                    store_->load(device.info().instance, service.target.record);
            const auto& record = service.target.record;
            // A device hidutil changed stays one to restore, whatever became of its keys.
            service.keyboard =
                record || service.target.recordError ||
                isKeyboard(device.info(), service.target.current,
                           originalKeymap(service.target.current, record ? &*record : nullptr));
        }
        service.row = describeService(device.info(), service.keyboard);
        return service;
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
        // Two runs at once would each remember the other's changes as originals.
        const FolderLock lock(*folder_);
        if (!locked(lock))
            return exitFailure;
        const std::vector<Mapping> usable = usableMappings(*mappings.value, err_);
        bool ok = scan();
        if (scan_.error)
            return exitFailure;
        if (!store_) {
            err_ << text::errorBootId;
            return exitFailure;
        }
        store_->removeStale(scan_.present);
        std::vector<const Target*> targets;
        for (Service* service : keyboardsMatching(*matching)) {
            // Without its originals, a clear cannot put that keyboard back; an install can go on.
            if (setAsideDamaged(service->target) && mappings.value->empty())
                ok = false;
            targets.push_back(&service->target);
        }
        if (options.matching && targets.empty()) {
            err_ << fill(text::errorNoMatch, {*options.matching});
            return exitFailure;
        }
        Installer installer(*store_, err_, readBack_);
        const auto installed =
            installer.install(targets, *mappings.value, usable, !options.matching);
        if (!ok || installer.failed())
            return exitFailure;
        leaveStatus(installed);
        out_ << (options.matching
                     ? formatMatchedEcho(installed, std::vector(installed.size(), *mappings.value))
                     : formatEcho(*mappings.value));
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
        const bool ok = scan();
        if (!options.matching) {
            const auto mappings = store_ ? store_->loadAllKeyboards() : std::nullopt;
            out_ << (mappings ? formatMappingList(*mappings) : std::string(text::listNull));
            // A keyboard that could not be read may have another list than the one kept.
            return ok ? exitSuccess : exitFailure;
        }
        const auto targets = keyboardsMatching(*matching);
        if (targets.empty()) {
            err_ << fill(text::errorNoMatch, {*options.matching});
            return exitFailure;
        }
        std::vector<std::uint64_t> ids;
        std::vector<std::vector<Mapping>> values;
        for (const Service* service : targets) {
            const auto& record = service->target.record;
            ids.push_back(service->target.device->info().registryId);
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

    // Reads what was installed under the folder's lock, so that no install is seen half done.
    int status(const Options& options) {
        std::optional<FolderLock> lock;
        std::error_code error;
        if (folder_ && std::filesystem::exists(*folder_, error) && !locked(lock.emplace(*folder_)))
            return exitFailure;
        bool ok = scan();
        std::vector<KeyboardStatus> keyboards;
        for (Service& service : services_) {
            if (!service.keyboard)
                continue;
            setAsideDamaged(service.target);
            keyboards.push_back(statusOf(service, lock.has_value()));
            ok = ok && !keyboards.back().originalsUnknown && !service.target.recordError;
        }
        out_ << (options.json ? formatStatusJson(keyboards, unopened_)
                              : formatStatus(keyboards, unopened_));
        if (!ok)
            return exitFailure;
        return anyOverridden(keyboards) ? exitOverridden : exitSuccess;
    }

    // What became of the list on one keyboard, as `status` prints it; an unreadable record is
    // named.
    KeyboardStatus statusOf(Service& service, bool underLock) {
        Target& target = service.target;
        const DeviceInfo& info = target.device->info();
        KeyboardStatus status{service.row,
                              {},
                              underLock && store_ && !info.instance.empty() &&
                                  store_->originalsUnknown(info.instance),
                              {}};
        if (target.recordError) {
            err_ << fill(text::errorRecordUnreadable,
                         {store_->fileOf(info.instance).string(), info.node, info.name,
                          target.recordError.message()});
            return status;
        }
        const DeviceRecord* record = target.record ? &*target.record : nullptr;
        if (record)
            status.entries = readBack(target.current, *record, info);
        status.keys = keyLayers(target.current, record, info);
        return status;
    }

    // Leaves the status of the keyboards that took the list beside the records, read from their
    // keymaps and records as the install left them, so that the application need not start
    // `status` to learn it. Losing it costs only that process, so it is neither synced nor named
    // when it cannot be written.
    void leaveStatus(const std::vector<std::uint64_t>& installed) {
        std::vector<KeyboardStatus> keyboards;
        for (Service& service : services_) {
            Target& target = service.target;
            const DeviceInfo& info = target.device->info();
            if (std::find(installed.begin(), installed.end(), info.registryId) == installed.end())
                continue;
            std::vector<KeymapEntry> keymap;
            if (target.device->readKeymap(keymap))
                continue;
            target.current = toKeymap(keymap);
            if (!info.instance.empty())
                target.recordError = store_->load(info.instance, target.record);
            if (!target.recordError)
                keyboards.push_back(statusOf(service, true));
        }
        replaceFileAtomically(*folder_ / contract::statusFileName, formatStatusJson(keyboards),
                              Sync::None);
    }

    // Whether the folder's lock is held; if not, says why.
    bool locked(const FolderLock& lock) {
        if (lock)
            return true;
        if (lock.error == std::errc::operation_would_block)
            err_ << fill(text::errorLockHeld,
                         {lock.holder.empty() ? text::lockHolderUnknown : lock.holder,
                          (*folder_ / text::lockFile).string()});
        else
            err_ << fill(text::errorState, {folder_->string(), lock.error.message()});
        return false;
    }

    // Moves a damaged record of the target out of the way, and says so; only under the folder's
    // lock. True when there was one: the device's original keys are unknown from now on.
    bool setAsideDamaged(Target& target) {
        if (target.recordError != damagedRecord())
            return false;
        const DeviceInfo& info = target.device->info();
        std::filesystem::path movedTo;
        if (auto error = store_->setAside(info.instance, movedTo)) {
            err_ << fill(text::errorState, {folder_->string(), error.message()});
            return false;
        }
        err_ << fill(text::errorDamagedRecord, {info.node, info.name, movedTo.string()});
        target.recordError.clear();
        return true;
    }

    DeviceSource& source_;
    const std::optional<std::filesystem::path>& folder_;
    ReadBack readBack_;
    std::ostream& out_;
    std::ostream& err_;
    DeviceScan scan_;
    std::optional<RecordStore> store_;
    std::vector<Service> services_;
    std::vector<UnopenedDevice> unopened_;  // what may be a keyboard and could not be opened
};

}  // namespace

int runCommand(const std::vector<std::string>& args, DeviceSource& devices,
               const std::optional<std::filesystem::path>& recordFolder, std::ostream& out,
               std::ostream& err, ReadBack readBack) {
    const auto options = parseCommandLine(args);
    if (!options) {
        std::string given = args.empty() ? " (none given)" : "";
        for (const std::string& arg : args)
            given += " " + arg;
        err << text::usage << "\n" << fill(text::errorCommandLine, {given});
        return exitUsage;
    }
    return Runner(devices, recordFolder, readBack, out, err).run(*options);
}

}  // namespace keyvane::hidutil
