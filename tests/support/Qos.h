#ifndef TESTS_SUPPORT_QOS_H
#define TESTS_SUPPORT_QOS_H

/// Whether the policies that publishers and subscribers both have are the same. The library's own comparison of all
/// policies hands a null pointer to `memcmp` where there is no partition.
template <class Qos>
bool haveOneQos(const Qos& one, const Qos& other)
{
    return one.m_durability == other.m_durability && one.m_deadline == other.m_deadline &&
           one.m_latencyBudget == other.m_latencyBudget && one.m_liveliness == other.m_liveliness &&
           one.m_reliability == other.m_reliability && one.m_ownership == other.m_ownership &&
           one.m_destinationOrder == other.m_destinationOrder && one.m_presentation == other.m_presentation &&
           one.m_lifespan == other.m_lifespan && one.m_durabilityService == other.m_durabilityService &&
           one.m_timeBasedFilter == other.m_timeBasedFilter &&
           one.m_disablePositiveACKs == other.m_disablePositiveACKs && one.representation == other.representation &&
           one.data_sharing == other.data_sharing;
}

#endif
