#include "async/ActionSequence.h"

#include "async/Errors.h"
#include "async/ImmediateResultAction.h"
#include "async/JobControl.h"
#include "async/TailRecursionController.h"

#include <atomic>
#include <deque>
#include <mutex>

namespace Async
{
namespace Detail
{

// The actions of a sequence as a list that only grows. Nodes never move (a deque keeps its elements in
// place on push_back) and are published through Next, so a run walks the list without a lock; only
// writers take the lock.
class SequenceEntries : Common::NonCopyable
{
public:
    struct Node
    {
        explicit Node(std::shared_ptr<Action> action) : Performed(std::move(action)) {}
        const std::shared_ptr<Action> Performed;
        std::atomic<const Node*> Next{nullptr};
    };

    void Append(std::shared_ptr<Action> action)
    {
        std::lock_guard<std::mutex> guard(Lock);
        const Node* node = &Nodes.emplace_back(std::move(action));
        if (Tail == nullptr)
        {
            Head.store(node, std::memory_order_release);
        }
        else
        {
            Tail->Next.store(node, std::memory_order_release);
        }
        Tail = &Nodes.back();
    }

    const Node* First() const { return Head.load(std::memory_order_acquire); }

private:
    std::mutex Lock;
    std::deque<Node> Nodes; // guarded by Lock
    Node* Tail = nullptr;   // guarded by Lock
    std::atomic<const Node*> Head{nullptr};
};

} // namespace Detail

namespace
{

using Node = Detail::SequenceEntries::Node;

// One run of a sequence: the current action runs through the embedded control, and each success hands
// the next one to the tail-recursion loop, so synchronous completions don't deepen the stack. The run
// holds itself (Self) from Perform to its final call, and the entries for as long as it lives.
class SequenceJob final : public BaseJob,
                          public ActionHandler,
                          public TailRecursionController,
                          public std::enable_shared_from_this<SequenceJob>
{
public:
    SequenceJob(std::shared_ptr<Detail::SequenceEntries> entries, bool cyclic, ActionHandler& handler)
        : Entries(std::move(entries)), Cyclic(cyclic), Handler(handler)
    {
    }

    void Start(const Node& first)
    {
        Self = shared_from_this();
        Current = &first;
        Notify();
    }

    void Cancel() override { Control.Cancel(); }

    void Completed(const Common::Error& result) override
    {
        if (result.GetCode() != 0)
        {
            Finish(Filter(result));
            return;
        }
        const Node* next = Current->Next.load(std::memory_order_acquire);
        if (next == nullptr && Cyclic)
        {
            next = Entries->First();
        }
        if (next == nullptr)
        {
            Finish(Common::Success);
            return;
        }
        Current = next;
        Notify();
    }

    void GetKeepAlive(std::shared_ptr<void>& out) override { out = shared_from_this(); }

    // The control describes nothing: a failure rises as its action gave it.
    void Process() override { Control.Run(*Current->Performed, *this, nullptr); }

private:
    Common::Error Filter(const Common::Error& result) const
    {
        if (Errors::HasCode(result, ErrorCodes::SequenceBreak) ||
            (Cyclic && Errors::HasCode(result, ErrorCodes::CycleBreak)))
        {
            return Common::Success;
        }
        return result;
    }

    void Finish(const Common::Error& result)
    {
        // Released when this returns: the handler may drop its reference too.
        const std::shared_ptr<SequenceJob> self = std::move(Self);
        Handler.Completed(result);
    }

    const std::shared_ptr<Detail::SequenceEntries> Entries;
    const bool Cyclic;
    ActionHandler& Handler;
    JobControl Control;
    // Written by the thread of the completion, read by the loop; the controller's lock hands it over.
    const Node* Current = nullptr;
    std::shared_ptr<SequenceJob> Self;
};

} // namespace

ActionSequence::ActionSequence() : Entries(std::make_shared<Detail::SequenceEntries>()) {}

ActionSequence::~ActionSequence() = default;

std::shared_ptr<Job> ActionSequence::Perform(ActionHandler& handler)
{
    const Node* first = Entries->First();
    if (first == nullptr)
    {
        handler.Completed(Common::Success);
        return nullptr;
    }
    auto job = std::make_shared<SequenceJob>(Entries, IsCyclic(), handler);
    job->Start(*first);
    return job;
}

void ActionSequence::Execute(std::shared_ptr<Action> action)
{
    if (action == nullptr)
    {
        // Runs as a failure at its place rather than crashing the run.
        action = std::make_shared<ImmediateResultAction>(Errors::MakePendingJobEmptyError());
    }
    Entries->Append(std::move(action));
}

const std::shared_ptr<Action>& SequenceBreakAction()
{
    static const std::shared_ptr<Action> action =
        std::make_shared<ImmediateResultAction>(Errors::SequenceBreak());
    return action;
}

const std::shared_ptr<Action>& CycleBreakAction()
{
    static const std::shared_ptr<Action> action =
        std::make_shared<ImmediateResultAction>(Errors::CycleBreak());
    return action;
}

} // namespace Async
