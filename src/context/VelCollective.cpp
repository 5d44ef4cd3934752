#include "context/VelCollective.h"

#include "context/VelContext.h"
#include "context/VelManagerAccess.h"

VelCollective* VelCollectiveOf(unsigned contextValue) {
    VelContext* context = VelManagerAccess::Find(contextValue);
    return context ? context->Collective() : nullptr;
}

void VelAgree(unsigned contextValue, const char* operation,
              std::initializer_list<int64_t> arguments) {
    if (VelCollective* collective = VelCollectiveOf(contextValue))
        collective->Agree(operation, arguments);
}

void VelAgreeOnMembers(unsigned contextValue, const char* operation, const int* members,
                       int count) {
    VelCollective* collective = VelCollectiveOf(contextValue);
    if (!collective) return;
    std::vector<int64_t> arguments{count};
    if (members) arguments.insert(arguments.end(), members, members + count);
    collective->Agree(operation, arguments);
}
