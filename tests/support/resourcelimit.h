// What a process may use, cut down for a while: as if descriptors or the disk ran out.
#ifndef TESTS_SUPPORT_RESOURCELIMIT_H
#define TESTS_SUPPORT_RESOURCELIMIT_H

#include <sys/resource.h>

/// Cuts down a resource of this process, such as RLIMIT_NOFILE, as long as it lives.
class ResourceLimit
{
public:
    ResourceLimit(__rlimit_resource_t resource, rlim_t limit)
        : m_resource(resource)
    {
        getrlimit(m_resource, &m_before);
        const rlimit cut = {limit, m_before.rlim_max};
        setrlimit(m_resource, &cut);
    }
    ~ResourceLimit() { setrlimit(m_resource, &m_before); }
    ResourceLimit(const ResourceLimit&) = delete;
    ResourceLimit& operator=(const ResourceLimit&) = delete;

private:
    const __rlimit_resource_t m_resource;
    rlimit m_before = {};
};

#endif
