#include "platform/Dissenters.h"

#include "platform/Objects.h"

using namespace platform;

struct __DADissenter : TObject
{
    __DADissenter(const TType& type, DAReturn status, CFStringRef text)
        : TObject(type, 1), fStatus(status), fText(text != nullptr ? CFRetain(text) : nullptr)
    {
    }

    const DAReturn fStatus;
    const TReference fText;
};

static const TType kDissenterType = {"DADissenter", 258, Destroy<__DADissenter>, nullptr, nullptr};

DADissenterRef DADissenterCreate(CFAllocatorRef, DAReturn status, CFStringRef text)
{
    return Make<__DADissenter>(kDissenterType, status, text);
}

DAReturn DADissenterGetStatus(DADissenterRef dissenter)
{
    return As<__DADissenter>(dissenter, kDissenterType)->fStatus;
}

CFStringRef DADissenterGetStatusString(DADissenterRef dissenter)
{
    return static_cast<CFStringRef>(As<__DADissenter>(dissenter, kDissenterType)->fText.Get());
}

DAReturn platform::StatusNamed(const std::string& name)
{
    static const struct
    {
        const char* name;
        DAReturn status;
    } kStatuses[] = {
        {"error", kDAReturnError},
        {"busy", kDAReturnBusy},
        {"bad-argument", kDAReturnBadArgument},
        {"exclusive-access", kDAReturnExclusiveAccess},
        {"no-resources", kDAReturnNoResources},
        {"not-found", kDAReturnNotFound},
        {"not-mounted", kDAReturnNotMounted},
        {"not-permitted", kDAReturnNotPermitted},
        {"not-privileged", kDAReturnNotPrivileged},
        {"not-ready", kDAReturnNotReady},
        {"not-writable", kDAReturnNotWritable},
        {"unsupported", kDAReturnUnsupported},
    };
    for (const auto& one : kStatuses) {
        if (name == one.name)
            return one.status;
    }
    return kDAReturnError;
}
