#include "async/Gateway.h"

#include "async/GatewayLogic.h"

namespace Async
{

Gateway::Gateway() : Logic(std::make_shared<Detail::GatewayLogic>()) {}

Gateway::Gateway(std::unique_ptr<Flag>& flag) : Gateway()
{
    flag = Logic->Close();
}

Gateway::~Gateway() = default;

std::unique_ptr<Action> Gateway::GetExclusive(std::unique_ptr<Flag>& flag)
{
    return Detail::GatewayLogic::MakeCaptureAction(Logic, Detail::GatewayLogic::StateExclusive, flag);
}

std::unique_ptr<Action> Gateway::GetShared(std::unique_ptr<Flag>& flag)
{
    return Detail::GatewayLogic::MakeCaptureAction(Logic, Detail::GatewayLogic::StateShared, flag);
}

} // namespace Async
