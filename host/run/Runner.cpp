#include "run/Runner.h"

#include "access/contract/SystemProfileId.h"
#include "alerts/contract/Inspector.h"
#include "alerts/contract/InspectorFactory.h"
#include "async/DefaultService.h"
#include "common/CatalogIds.h"
#include "common/Clock.h"
#include "common/FormatText.h"
#include "common/Random.h"
#include "common/StringConversion.h"
#include "common/TextCatalog.h"
#include "common/VirtualClock.h"
#include "components/Components.h"
#include "dml/ObjectKey.h"
#include "dml/OperationFactory.h"
#include "dml/ReportReader.h"
#include "dml/ServiceHolder.h"
#include "dml/SynchronousDataStore.h"
#include "por/ConstUnit.h"
#include "por/PorUnit.h"
#include "por/UnitAccess.h"
#include "run/AddonModule.h"
#include "run/AlertBook.h"
#include "run/EventLog.h"
#include "run/TimelinePage.h"
#include "scenario/UnitNotation.h"
#include "store/MemoryStore.h"
#include "store/SqlitePersistence.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <nlohmann/json.hpp>
#include <set>

namespace Host::Run
{
namespace
{

// The host's GUIDs come from one seeded generator (splitmix64), so a scenario prints the same ids each run.
std::atomic<std::uint64_t> RandomState{1};

bool SeededBytes(void* buffer, std::size_t size)
{
    auto* bytes = static_cast<std::uint8_t*>(buffer);
    while (size > 0)
    {
        std::uint64_t z =
            RandomState.fetch_add(0x9E3779B97F4A7C15ull, std::memory_order_relaxed) + 0x9E3779B97F4A7C15ull;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        z ^= z >> 31;
        const std::size_t taken = std::min(size, sizeof(z));
        std::memcpy(bytes, &z, taken);
        bytes += taken;
        size -= taken;
    }
    return true;
}

std::string ChainText(Common::Error error)
{
    std::string text;
    for (; error.GetCode() != 0; error = error.GetSubError())
    {
        char code[16];
        std::snprintf(code, sizeof code, "%08X", error.GetCode());
        text +=
            (text.empty() ? "" : " | ") + std::string(code) + " " + Core::ConvertToUtf8(error.GetMessage());
    }
    return text;
}

struct StoredAlert
{
    Common::Guid Id;
    std::string Type;
    std::string Inspector;
};

struct AlertCollector final : Dml::ReportReader
{
    using Dml::ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit& object) override
    {
        const Por::ConstUnit alert(Por::Util::Copy(object, Por::GetUnitFactory()));
        Alerts.push_back({alert["ID"].As<Common::Guid>(),
                          Core::ConvertToUtf8(alert["Type"].As<Common::WideString>()),
                          Core::ConvertToUtf8(alert["Inspector"].As<Common::WideString>())});
    }
    std::vector<StoredAlert> Alerts;
};

class Run
{
public:
    Run(const Scenario& scenario, const RunOptions& options, std::ostream& out)
        : Plan(scenario), Options(options), Log(out), Clock(0, Common::WallTime{scenario.StartSeconds, 0}),
          Module(options.AddonPath, options.TraceLevel), Passwords(scenario.Passwords)
    {
        RandomState.store(scenario.Seed, std::memory_order_relaxed);
        Common::SetRandomSource(&SeededBytes);
        Common::SetClock(&Clock);
        OpenStore();
    }

    ~Run()
    {
        Inspectors.clear();
        Books.clear();
        Client.reset();
        Parts.reset();
        Settle();
        Common::SetClock(nullptr);
        Common::SetRandomSource(nullptr);
    }

    bool Play()
    {
        if (Parts->GetStore().GetObjectCount() == 0)
        {
            for (const Por::ConstUnitPtr& object : Plan.Objects)
            {
                Client->Create(CORE_ENTRY_POINT(), *object);
            }
        }
        StartInspectors();
        Settle();
        Log.FlushAlerts();
        for (const Step& step : Plan.Steps)
        {
            MoveTo(step.AtMilliseconds);
            if (step.Kind != Action::Expect)
            {
                // An advance only moves the clock, so what comes then comes from timers.
                Log.SetCause(step.Kind == Action::Advance ? AlertCause::Clock : AlertCause::Step, step.Index);
            }
            Execute(step);
            Settle();
            Log.FlushAlerts();
        }
        Log.SetCause(AlertCause::Stop);
        StopInspectors();
        Summary();
        return Held;
    }

    // What the run printed, for its timeline page; call after Play.
    TimelineRun TakeTimeline()
    {
        TimelineRun timeline{Plan.File, Plan.StartSeconds, {}, Log.TakeAll(), Log.TakeLines()};
        for (LoadedAddon& addon : Module.GetAddons())
        {
            if (addon.Factory != nullptr)
            {
                timeline.Inspectors.push_back(addon.Name);
            }
        }
        return timeline;
    }

private:
    std::uint64_t Now() const { return Clock.GetElapsed(); }

    void OpenStore()
    {
        std::unique_ptr<Store::Persistence> persistence;
        if (!Options.StorePath.empty())
        {
            persistence = std::make_unique<Store::SqlitePersistence>(Options.StorePath);
        }
        Parts = std::make_unique<Components>(std::make_unique<Store::MemoryStore>(std::move(persistence)),
                                             Plan.Machine);
        Client = std::make_unique<Dml::SynchronousDataStore>(
            Dml::ServiceHolder(&Parts->GetStore(), &Parts->GetStore()));
        for (const auto& [scope, password] : Passwords)
        {
            Parts->GetProfileVault().SetPassword(AccessManagement::SystemProfileId, scope, password);
        }
    }

    // Until the feeds have delivered and no timer due now or work of the service is left.
    void Settle()
    {
        for (int round = 0; round < 3; ++round)
        {
            Clock.Settle();
            Async::Detail::WaitUntilIdle();
        }
    }

    void MoveTo(std::uint64_t milliseconds)
    {
        if (milliseconds > Now())
        {
            Log.SetCause(AlertCause::Clock);
            Clock.Advance(milliseconds - Now());
            Settle();
            Log.FlushAlerts();
        }
    }

    nlohmann::ordered_json Line(const char* event) const
    {
        nlohmann::ordered_json line;
        line["time"] = static_cast<double>(Now()) / 1000.0;
        line["event"] = event;
        return line;
    }

    void ReportFailure(Common::WideTextId text, const std::string& addon, const Common::Error& error)
    {
        nlohmann::ordered_json line = Line("error");
        line["message"] =
            Core::ConvertToUtf8(Common::FormatText(Common::GetText(text), {Core::ConvertFromUtf8(addon)}));
        line["cause"] = ChainText(error);
        Log.Print(line.dump());
        Held = false;
    }

    void StartInspectors()
    {
        Runtime::ServiceHolder holder = Parts->MakeServiceHolder();
        std::size_t order = 0;
        for (LoadedAddon& addon : Module.GetAddons())
        {
            ++order;
            if (addon.Factory == nullptr)
            {
                continue;
            }
            std::unique_ptr<Alerts::Inspector> inspector;
            try
            {
                inspector = addon.Factory->CreateInspector(holder);
            }
            catch (const Common::Error& error)
            {
                ReportFailure(Common::Texts::HostCreateFailed, addon.Name, error);
                continue;
            }
            auto book =
                std::make_shared<AlertBook>(addon.Name, order, *Client, Log, [this] { return Now(); });
            try
            {
                inspector->Initialize(book, *Plan.Settings);
            }
            catch (const Common::Error& error)
            {
                ReportFailure(Common::Texts::HostInitializeFailed, addon.Name, error);
                continue;
            }
            try
            {
                inspector->Start();
            }
            catch (const Common::Error& error)
            {
                ReportFailure(Common::Texts::HostStartFailed, addon.Name, error);
            }
            Names.push_back(addon.Name);
            Books.push_back(std::move(book));
            Inspectors.push_back(std::move(inspector));
        }
    }

    void StopInspectors()
    {
        for (std::size_t index = Inspectors.size(); index-- > 0;)
        {
            try
            {
                Inspectors[index]->Stop();
            }
            catch (const Common::Error& error)
            {
                ReportFailure(Common::Texts::HostStopFailed, Names[index], error);
            }
            try
            {
                Inspectors[index]->Deinitialize();
            }
            catch (const Common::Error& error)
            {
                ReportFailure(Common::Texts::HostDeinitializeFailed, Names[index], error);
            }
            Inspectors[index].reset();
        }
        Settle();
        Log.FlushAlerts();
        Inspectors.clear();
        Books.clear();
        Names.clear();
    }

    void Write(const Step& step, Dml::Operation::OperationFactory* batch)
    {
        const Por::View::Unit& unit = *step.Unit;
        switch (step.Kind)
        {
        case Action::Create:
            batch != nullptr ? batch->CreateObject(step.Unit) : Client->Create(CORE_ENTRY_POINT(), unit);
            break;
        case Action::Store:
            batch != nullptr ? batch->StoreOrUpdate(step.Unit)
                             : Client->StoreOrUpdate(CORE_ENTRY_POINT(), unit);
            break;
        case Action::Update:
            if (batch != nullptr)
            {
                batch->ConsolidateIfExists(step.Unit);
            }
            else
            {
                // The properties given join or replace the stored ones; the object must exist.
                Client->FindById(CORE_ENTRY_POINT(), Dml::GetObjectKey(unit));
                const Common::Error result = Client->StoreOrConsolidate(CORE_ENTRY_POINT(), unit);
                if (result.GetCode() != 0)
                {
                    throw result;
                }
            }
            break;
        case Action::Delete:
        {
            const Por::ConstUnitPtr key = Por::Util::Copy(Dml::GetObjectKey(unit), Por::GetUnitFactory());
            batch != nullptr ? batch->DeleteObject(key) : Client->Delete(CORE_ENTRY_POINT(), *key);
            break;
        }
        default:
            break;
        }
    }

    void Execute(const Step& step)
    {
        nlohmann::ordered_json line = Line("step");
        line["step"] = step.Index;
        line["action"] = ActionName(step.Kind);
        try
        {
            switch (step.Kind)
            {
            case Action::Create:
            case Action::Store:
            case Action::Update:
            case Action::Delete:
                line["object"] = ::Host::Scenario::WriteUnit(*step.Unit);
                Log.Print(line.dump());
                Write(step, nullptr);
                break;
            case Action::Batch:
            {
                Dml::Operation::OperationFactory operations;
                nlohmann::ordered_json parts = nlohmann::ordered_json::array();
                for (const Step& part : step.Batch)
                {
                    parts.push_back({{"action", ActionName(part.Kind)},
                                     {"object", ::Host::Scenario::WriteUnit(*part.Unit)}});
                    Write(part, &operations);
                }
                line["writes"] = std::move(parts);
                Log.Print(line.dump());
                Client->Create(CORE_ENTRY_POINT(), *operations.Finish());
                break;
            }
            case Action::Password:
                line["scope"] = step.Scope;
                Log.Print(line.dump());
                Passwords[step.Scope] = step.Password;
                Parts->GetProfileVault().SetPassword(AccessManagement::SystemProfileId, step.Scope,
                                                     step.Password);
                break;
            case Action::Restart:
                Log.Print(line.dump());
                StopInspectors();
                for (const Step& part : step.Batch)
                {
                    nlohmann::ordered_json offline = Line("step");
                    offline["step"] = step.Index;
                    offline["action"] = ActionName(part.Kind);
                    offline["offline"] = true;
                    offline["object"] = ::Host::Scenario::WriteUnit(*part.Unit);
                    Log.Print(offline.dump());
                    Write(part, nullptr);
                }
                if (!Options.StorePath.empty())
                {
                    Client.reset();
                    Parts.reset();
                    OpenStore();
                }
                StartInspectors();
                break;
            case Action::Advance:
                line["seconds"] = static_cast<double>(step.Milliseconds) / 1000.0;
                Log.Print(line.dump());
                Clock.Advance(step.Milliseconds);
                break;
            case Action::Expect:
                Settle();
                Log.FlushAlerts();
                Check(step);
                break;
            }
        }
        catch (const Common::Error& error)
        {
            nlohmann::ordered_json failure = Line("error");
            failure["step"] = step.Index;
            failure["message"] = "the step's store write failed";
            failure["cause"] = ChainText(error);
            Log.Print(failure.dump());
            Held = false;
        }
    }

    std::vector<StoredAlert> StoredAlerts()
    {
        AlertCollector collector;
        Client->Report(CORE_ENTRY_POINT(), {MakeAlertPattern(), nullptr}, collector);
        std::sort(collector.Alerts.begin(), collector.Alerts.end(),
                  [](const StoredAlert& left, const StoredAlert& right)
                  {
                      return std::tie(left.Inspector, left.Type, left.Id.Data1, left.Id.Data2) <
                             std::tie(right.Inspector, right.Type, right.Id.Data1, right.Id.Data2);
                  });
        return collector.Alerts;
    }

    static bool Matches(const AlertMatch& match, const StoredAlert& alert)
    {
        return match.Type == alert.Type && (!match.Id || *match.Id == alert.Id) &&
               (!match.Inspector || *match.Inspector == alert.Inspector);
    }

    static nlohmann::ordered_json Describe(const AlertMatch& match)
    {
        nlohmann::ordered_json entry;
        entry["type"] = match.Type;
        if (match.Id)
        {
            entry["id"] = Common::GuidToString(*match.Id);
        }
        if (match.Inspector)
        {
            entry["inspector"] = *match.Inspector;
        }
        return entry;
    }

    void Check(const Step& step)
    {
        const std::vector<StoredAlert> alerts = StoredAlerts();
        nlohmann::ordered_json failures = nlohmann::ordered_json::array();
        for (const AlertMatch& match : step.Expect.Active)
        {
            if (std::none_of(alerts.begin(), alerts.end(),
                             [&](const StoredAlert& alert) { return Matches(match, alert); }))
            {
                failures.push_back({{"expected", "active"}, {"alert", Describe(match)}});
            }
        }
        for (const AlertMatch& match : step.Expect.Inactive)
        {
            if (std::any_of(alerts.begin(), alerts.end(),
                            [&](const StoredAlert& alert) { return Matches(match, alert); }))
            {
                failures.push_back({{"expected", "inactive"}, {"alert", Describe(match)}});
            }
        }
        if (step.Expect.Count && *step.Expect.Count != alerts.size())
        {
            failures.push_back(
                {{"expected", "count"}, {"count", *step.Expect.Count}, {"held", alerts.size()}});
        }
        nlohmann::ordered_json line = Line("expect");
        line["step"] = step.Index;
        line["ok"] = failures.empty();
        if (!failures.empty())
        {
            line["failures"] = std::move(failures);
            Held = false;
        }
        Log.Print(line.dump());
    }

    void Summary()
    {
        nlohmann::ordered_json line = Line("summary");
        nlohmann::ordered_json active = nlohmann::ordered_json::array();
        for (const StoredAlert& alert : StoredAlerts())
        {
            active.push_back({{"inspector", alert.Inspector},
                              {"type", alert.Type},
                              {"id", Common::GuidToString(alert.Id)}});
        }
        line["active"] = std::move(active);
        line["expectations"] = Held ? "held" : "failed";
        Log.Print(line.dump());
    }

    const Scenario& Plan;
    const RunOptions Options;
    EventLog Log;
    Common::VirtualClock Clock;
    AddonModule Module;
    std::map<std::string, std::u16string> Passwords;
    std::unique_ptr<Components> Parts;
    std::unique_ptr<Dml::SynchronousDataStore> Client;
    std::vector<std::string> Names;
    std::vector<std::shared_ptr<AlertBook>> Books;
    std::vector<std::unique_ptr<Alerts::Inspector>> Inspectors;
    bool Held = true;
};

} // namespace

bool RunScenario(const Scenario& scenario, const RunOptions& options, std::ostream& out, std::ostream* page)
{
    Run run(scenario, options, out);
    const bool held = run.Play();
    if (page != nullptr)
    {
        WriteTimelinePage(run.TakeTimeline(), *page);
    }
    return held;
}

} // namespace Host::Run
