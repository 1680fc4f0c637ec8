#pragma once

// Error paths are part of the behaviour: test them by type and exact message.
//
//   EXPECT_THROW_MSG(archive >> value, CArchiveException, "end of file");

#include <gtest/gtest.h>

#include <string>

#define ZEV_THROW_MSG_(statement, exception, message, fail)                                    \
    do {                                                                                       \
        bool zevThrown_ = false;                                                               \
        std::string zevWhat_;                                                                  \
        try {                                                                                  \
            statement;                                                                         \
        } catch (const exception& e) {                                                         \
            zevThrown_ = true;                                                                 \
            zevWhat_ = e.what();                                                               \
        }                                                                                      \
        if (!zevThrown_)                                                                       \
            fail() << "Expected: " #statement " throws " #exception "\n  Actual: it does not"; \
        else if (zevWhat_ != std::string(message))                                             \
            fail() << "Expected: " #statement " throws " #exception " with message\n    \""    \
                   << (message) << "\"\n  Actual: \"" << zevWhat_ << "\"";                     \
    } while (false)

#define EXPECT_THROW_MSG(statement, exception, message) \
    ZEV_THROW_MSG_(statement, exception, message, ADD_FAILURE)
#define ASSERT_THROW_MSG(statement, exception, message) \
    ZEV_THROW_MSG_(statement, exception, message, GTEST_FAIL)
