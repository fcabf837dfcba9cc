#pragma once

#include <cstdio>

#include "tests/support/SideProgram.h"

#ifndef KR_MDS_STANDIN // the build says where the program lies
#define KR_MDS_STANDIN "tests/mds/mds_standin.py"
#endif

namespace kr {

/// tests/mds/mds_standin.py as a process of its own; KR_MDS_STANDIN is the script.
class PushStandin {
public:
    /// `site`: pages that it gives as a proxy.
    explicit PushStandin(const std::string& site = {})
        : m_process({"python3", "-B", KR_MDS_STANDIN, "--quiet", "--site", site}) {
        if (std::sscanf(m_process.FirstOutput().c_str(), "listening on %d", &port) != 1)
            port = 0;
    }
    /// 0 when it doesn't run.
    int port = 0;

private:
    SideProgram m_process;
};

} // namespace kr
