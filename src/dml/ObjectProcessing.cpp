#include "dml/ObjectProcessing.h"

#include "async/Asynchronizer.h"
#include "async/Errors.h"
#include "async/Job.h"
#include "common/CatalogIds.h"
#include "common/TextCatalog.h"
#include "dml/AsyncReport.h"
#include "dml/AsyncReportReader.h"
#include "dml/KeyPattern.h"
#include "dml/ObjectKey.h"
#include "dml/ObjectProcessors.h"
#include "por/UnitAccess.h"

#include <mutex>

namespace Dml
{
namespace ObjectProcessingImpl
{

// Two steps: the report, whose objects go to the processor one at a time, then, if it found nothing,
// the processor's empty branch. Keeps itself alive from Start until its handler was called.
class ObjectProcessingJob final : public Async::BaseJob,
                                  public AsyncReportReader,
                                  public Async::ActionHandler,
                                  public std::enable_shared_from_this<ObjectProcessingJob>
{
public:
    ObjectProcessingJob(const Core::EntryPoint& entryPoint, const ViewSpec& spec, PostOffice& postOffice,
                        std::shared_ptr<ObjectProcessor> processor,
                        const Por::Construction::UnitFactory& factory, Async::ActionHandler& handler)
        : EntryPoint(entryPoint), Spec(spec), Office(postOffice), Factory(factory),
          Processor(std::move(processor)), Handler(handler)
    {
    }

    std::shared_ptr<Async::Job> Start()
    {
        Self = shared_from_this();
        auto report = std::make_shared<AsyncReport>(EntryPoint, Spec, nullptr, *this, Office, Factory);
        const std::unique_ptr<Async::Action> reading =
            Async::MakeAsynchronizer(std::move(report), Async::AsynchronizerKind::Sequence);
        try
        {
            RunStep([&] { return reading->Perform(*this); });
        }
        catch (...)
        {
            Self.reset(); // Perform threw without completing
            throw;
        }
        return shared_from_this();
    }

    void Describe(Async::WorkDescription& out) const override
    {
        out = Async::WorkDescription(
            COMMON_LOCATION("Dml::ObjectProcessingImpl::ObjectProcessingJob::Describe"),
            Common::WideString(Common::GetText(Common::Texts::DmlProcessObjectJob)));
    }

    void Cancel() override
    {
        std::shared_ptr<Async::Job> current;
        {
            const std::lock_guard lock(Lock);
            Cancelled = true;
            current = Current;
        }
        if (current != nullptr)
        {
            current->Cancel();
        }
    }

    std::shared_ptr<Async::Job> OnSubject(const Por::ConstUnitPtr& object,
                                          Async::ActionHandler& handler) override
    {
        Empty = false;
        return Processor->ProcessObject(*object, handler);
    }

    void Completed(const Common::Error& result) override
    {
        const std::shared_ptr<ObjectProcessingJob> self = shared_from_this();
        bool cancelled = false;
        {
            const std::lock_guard lock(Lock);
            ++Generation;
            Current.reset();
            cancelled = Cancelled;
        }
        if (!ReportDone)
        {
            ReportDone = true;
            if (result.GetCode() == 0 && Empty)
            {
                if (cancelled)
                {
                    Finish(Async::Errors::MakeCanceled(
                        COMMON_LOCATION("Dml::ObjectProcessingImpl::ObjectProcessingJob::Cancel")));
                    return;
                }
                try
                {
                    RunStep([&] { return Processor->ProcessEmptySelection(*this); });
                }
                catch (...)
                {
                    Finish(Async::Errors::CurrentException(
                        COMMON_LOCATION("Dml::ObjectProcessingImpl::ObjectProcessingJob::Completed"),
                        u"ProcessEmptySelection"));
                }
                return;
            }
        }
        Finish(result);
    }

private:
    template <class Perform>
    void RunStep(Perform&& perform)
    {
        std::uint32_t generation = 0;
        {
            const std::lock_guard lock(Lock);
            generation = Generation;
        }
        std::shared_ptr<Async::Job> job = perform();
        const std::lock_guard lock(Lock);
        if (generation == Generation && job != nullptr)
        {
            Current = std::move(job); // still running: a cancel reaches it
        }
    }

    void Finish(const Common::Error& result)
    {
        const std::shared_ptr<ObjectProcessingJob> self = std::move(Self);
        Handler.Completed(result);
    }

    const Core::EntryPoint EntryPoint;
    const ViewSpec Spec;
    PostOffice& Office;
    const Por::Construction::UnitFactory& Factory;
    const std::shared_ptr<ObjectProcessor> Processor;
    Async::ActionHandler& Handler;
    std::shared_ptr<ObjectProcessingJob> Self;
    bool Empty = true;
    bool ReportDone = false;
    std::mutex Lock;
    std::shared_ptr<Async::Job> Current;
    std::uint32_t Generation = 0;
    bool Cancelled = false;
};

} // namespace ObjectProcessingImpl

std::shared_ptr<Async::Job> ProcessObjectBySpec(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                                PostOffice& postOffice,
                                                std::shared_ptr<ObjectProcessor> processor,
                                                const Por::Construction::UnitFactory& factory,
                                                Async::ActionHandler& handler)
{
    auto job = std::make_shared<ObjectProcessingImpl::ObjectProcessingJob>(
        entryPoint, spec, postOffice, std::move(processor), factory, handler);
    return job->Start();
}

std::shared_ptr<Async::Job> ProcessObjectByKey(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                               PostOffice& postOffice,
                                               std::shared_ptr<ObjectProcessor> processor,
                                               const Por::Construction::UnitFactory& factory,
                                               Async::ActionHandler& handler)
{
    const ViewSpec spec{MakeKeyPattern(key, factory), nullptr};
    return ProcessObjectBySpec(entryPoint, spec, postOffice, std::move(processor), factory, handler);
}

} // namespace Dml

namespace Dml::PersistActions
{
namespace
{

template <class Processor>
std::shared_ptr<Async::Job> ProcessOwnKey(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object,
                                          const Services& services, Async::ActionHandler& handler)
{
    const Por::View::Unit& key = GetObjectKey(*object);
    auto processor = std::make_shared<Processor>(object, services.Registry, services.Factory);
    return ProcessObjectByKey(entryPoint, key, services.Office, std::move(processor), services.Factory,
                              handler);
}

} // namespace

std::shared_ptr<Async::Job> StoreOrUpdate(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object,
                                          const Services& services, Async::ActionHandler& handler)
{
    return ProcessOwnKey<Detail::WriteObject>(entryPoint, std::move(object), services, handler);
}

std::shared_ptr<Async::Job> CreateIfNotExists(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object,
                                              const Services& services, Async::ActionHandler& handler)
{
    return ProcessOwnKey<Detail::StoreNewObject>(entryPoint, std::move(object), services, handler);
}

std::shared_ptr<Async::Job> StoreOrConsolidate(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object,
                                               const Services& services, Async::ActionHandler& handler)
{
    return ProcessOwnKey<Detail::ConsolidateObject>(entryPoint, std::move(object), services, handler);
}

std::shared_ptr<Async::Job> ConsolidateIfExists(const Core::EntryPoint& entryPoint, Por::ConstUnitPtr object,
                                                const Services& services, Async::ActionHandler& handler)
{
    return ProcessOwnKey<Detail::ConsolidateObjectIfExists>(entryPoint, std::move(object), services, handler);
}

std::shared_ptr<Async::Job> DeleteIfExists(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                           const Services& services, Async::ActionHandler& handler)
{
    auto processor = std::make_shared<Detail::DeleteObject>(services.Registry, services.Factory);
    return ProcessObjectByKey(entryPoint, key, services.Office, std::move(processor), services.Factory,
                              handler);
}

std::shared_ptr<Async::Job> FindObject(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                       PostOffice& postOffice, const Por::Construction::UnitFactory& factory,
                                       Por::UnitPtr* holder, Por::Unit* unit, Async::ActionHandler& handler)
{
    auto processor = std::make_shared<Detail::FindPlainObject>(holder, unit, factory);
    return ProcessObjectByKey(entryPoint, key, postOffice, std::move(processor), factory, handler);
}

std::shared_ptr<Async::Job> FindObjectStrict(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                             PostOffice& postOffice,
                                             const Por::Construction::UnitFactory& factory,
                                             Por::UnitPtr* holder, Por::Unit* unit,
                                             Async::ActionHandler& handler)
{
    auto processor =
        std::make_shared<Detail::StrictFindPlainObject>(holder, unit, factory, Por::Util::Copy(key, factory));
    return ProcessObjectByKey(entryPoint, key, postOffice, std::move(processor), factory, handler);
}

std::shared_ptr<Async::Job> ObjectExists(const Core::EntryPoint& entryPoint, const Por::View::Unit& key,
                                         PostOffice& postOffice,
                                         const Por::Construction::UnitFactory& factory, bool& result,
                                         Async::ActionHandler& handler)
{
    auto processor = std::make_shared<Detail::ObjectExistenceChecker>(result);
    return ProcessObjectByKey(entryPoint, key, postOffice, std::move(processor), factory, handler);
}

} // namespace Dml::PersistActions
