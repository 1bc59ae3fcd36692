// The data queue name: the hand-written formatter against snprintf, and the
// cached pid across fork().
#include <gtest/gtest.h>
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "transport/wire.h"

TEST(DataQueueName, SameBytesAsSnprintf)
{
    const std::string long_name(70, 'q');
    const std::string names[] = {"/idpfw", "", "/", long_name.substr(0, 40), long_name.substr(0, 52),
                                 long_name.substr(0, 62), long_name.substr(0, 63), long_name};
    const unsigned numbers[] = {0, 1, 9, 10, 4294967295u, 1000000000u, 123456};
    const size_t sizes[] = {64, 1, 2, 8, 17};
    for (const std::string &name : names)
        for (unsigned pid : numbers)
            for (unsigned thread : numbers)
                for (size_t size : sizes) {
                    char want[64], got[64];
                    std::memset(want, 0x7E, sizeof want);
                    std::memset(got, 0x7E, sizeof got);
                    snprintf(want, size, "%s-%u-%u", name.c_str(), pid, thread);
                    dw::format_data_queue_name(got, size, name.c_str(), pid, thread);
                    ASSERT_EQ(0, std::memcmp(want, got, sizeof want))
                        << "name length " << name.size() << " pid " << pid << " thread " << thread
                        << " size " << size;
                }
}

TEST(DataQueueName, ForkedChildUsesItsOwnPid)
{
    ASSERT_EQ(static_cast<unsigned>(getpid()), dw::process_id());
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) _exit(dw::process_id() == static_cast<unsigned>(getpid()) ? 0 : 1);
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(0, WEXITSTATUS(status)) << "the child saw its parent's pid";
    EXPECT_EQ(static_cast<unsigned>(getpid()), dw::process_id());
}

TEST(DataQueueName, ControlMessageCarriesTheName)
{
    ControlMessage m;
    EngineRequest block = {};
    dw::build_control_message(m, "/idpfw", 0xC02CBF02u, block);
    char want[64] = {};
    snprintf(want, sizeof want, "/idpfw-%u-%u", static_cast<unsigned>(getpid()),
             static_cast<unsigned>(reinterpret_cast<uintptr_t>(pthread_self())));
    EXPECT_EQ(0, std::memcmp(want, m.data_queue, sizeof want));
}
