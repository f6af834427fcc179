// A condition that is made while memory runs out.

#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Multithreading/Condition.h"
#include "tests/support/FailingMemory.h"

#include <gtest/gtest.h>

using namespace Vondrel::Utilities;

TEST(Condition, FailsAsAResourceWhereverMemoryRunsOut)
{
    Multithreading::Mutex mutex("BlockingQueueMutex");
    int failures = 0;
    for (bool failed = true; failed;) {
        FailAllocation(++failures, false);
        std::string text;
        try {
            const Multithreading::Condition condition(mutex);
        } catch (const Exceptions::ResourceException& e) {
            text = e.what();
        } catch (const std::exception& e) {
            ADD_FAILURE() << "allocation " << failures << ": " << e.what();
        }
        failed = StopFailing();
        EXPECT_EQ(failed, text.starts_with("ConditionImpl::ConditionImpl() can't ")) << failures << ": " << text;
    }
    EXPECT_GT(failures, 3);
}
