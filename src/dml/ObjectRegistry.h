// Dml::ObjectRegistry: the store's write side. Register takes a plain object (0xFC0020 when its key
// exists) or a write operation object; Update applies a patch and Unregister deletes (0xFC001B when the
// object is missing). Safe to call from any thread.
#pragma once

#include "async/Action.h"
#include "common/NonCopyable.h"
#include "por/Forward.h"

#include <memory>

namespace Dml
{

class ObjectRegistry : Common::NonCopyable
{
public:
    virtual ~ObjectRegistry() = default;
    virtual std::shared_ptr<Async::Job> Register(const Por::View::Unit& object,
                                                 Async::ActionHandler& handler) = 0;
    virtual std::shared_ptr<Async::Job> Update(const Por::View::Unit& key, const Por::View::Unit& patch,
                                               Async::ActionHandler& handler) = 0;
    virtual std::shared_ptr<Async::Job> Unregister(const Por::View::Unit& key,
                                                   Async::ActionHandler& handler) = 0;
};

} // namespace Dml
