#pragma once

#include "EchoLog.h"
#include "HostSession.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

const char* const kEcho = "com.velmora.test-echo";
const char* const kOther = "com.velmora.test-other";

/// A session with the two applications of EchoApplication.cpp, of which none runs at first.
class EchoFixture : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    using Extras = std::vector<std::pair<std::string, std::string>>;

    /// Sends a request and returns the code.
    int launch(const char* application, const std::string& text, const Extras& extras = {});

    /// Makes a file in the session's runtime directory, for an application to see.
    std::string makeFile(const std::string& name);

    /// Waits until the application has written the text this often, and no more.
    void expectLines(const EchoLog& log, const std::string& text, int count = 1);
    /// Waits until these requests have come, and no others.
    void expectRequests(const EchoLog& log, const std::vector<std::string>& texts);

    HostSession session;
    EchoLog echo{ kEcho };
    EchoLog other{ kOther };

private:
    void _endApplications();
    std::vector<std::string> _files;
};
