// Operations without a service behind them: programs that link to them find them.
#include "source/operation.h"
#include "source/table.h"

namespace
{

using namespace mirovan;

bool get_process_list(MIROVAN_PROCESS_INFO*** table, int* count)
{
    if (table == nullptr || count == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    *count = 0;
    make_table(table, *count, sizeof(MIROVAN_PROCESS_INFO));
    return true;
}

bool do_nothing()
{
    return true;
}

} // namespace

bool CMirovan_System::Mirovan_System_GetProcessList(MIROVAN_PROCESS_INFO*** pppstProcessList,
                                                    int* pnListCount)
{
    return operation<ERROR_MIROVAN_SYSTEM_QUERY_FAILED>(get_process_list, pppstProcessList,
                                                        pnListCount);
}

bool CMirovan_System::Mirovan_System_WMIQuery(const char* /*lpszQuery*/, const char* /*lpszKey*/,
                                              char* /*lpszQueryResult*/, int /*nQueryResultSize*/)
{
    return operation<ERROR_MIROVAN_SYSTEM_QUERY_FAILED>(do_nothing);
}
