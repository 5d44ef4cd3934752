#ifndef VEL_TESTS_VELTESTSUPPORT_H
#define VEL_TESTS_VELTESTSUPPORT_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

// A literal text turned into a regular expression that matches exactly that text.
inline std::string VelLiteralRegex(const std::string& text) {
    std::string regex;
    for (char c : text) {
        if (std::string(".[]{}()*+?^$|\\").find(c) != std::string::npos) regex += '\\';
        regex += c;
    }
    return regex;
}

// The two lines a failed VelVALIDATE / VelASSERT writes before it stops the process.
inline std::string VelValidateText(const std::string& condition) {
    return "VelVALIDATE failed: " + condition +
           "\nPut Stop in VelAssert::ReportValidationFailure to find occurrence\n";
}
inline std::string VelAssertText(const std::string& condition) {
    return "VelASSERT failed: " + condition +
           "\nPut Stop in VelAssert::ReportAssertionFailure to find occurrence\n";
}

// The statement must stop the process with exactly the validation report of `condition`.
#define ExpectValidateFailure(statement, condition) \
    EXPECT_DEATH(statement, "^" + VelLiteralRegex(VelValidateText(condition)) + "$")
#define ExpectAssertFailure(statement, condition) \
    EXPECT_DEATH(statement, "^" + VelLiteralRegex(VelAssertText(condition)) + "$")

// A file name in the test's working directory, unique to the test, removed when it goes.
class VelTempFile {
public:
    explicit VelTempFile(const std::string& stem) {
        const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
        m_name = std::string(info ? info->test_suite_name() : "test") + "_" +
                 (info ? info->name() : "case") + "_" + stem + "_" + std::to_string(getpid());
        std::remove(m_name.c_str());
    }
    // A file the library writes beside `base`, named after it with `suffix` appended.
    VelTempFile(const VelTempFile& base, const char* suffix) : m_name(base.m_name + suffix) {
        std::remove(m_name.c_str());
    }
    ~VelTempFile() { std::remove(m_name.c_str()); }
    VelTempFile(const VelTempFile&) = delete;
    VelTempFile& operator=(const VelTempFile&) = delete;

    const char* c_str() const { return m_name.c_str(); }
    const std::string& str() const { return m_name; }

private:
    std::string m_name;
};

#endif
