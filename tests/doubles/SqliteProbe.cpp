#include "SqliteProbe.h"

namespace {
SqliteProbe* current = nullptr;

using Extension = void (*)();
} // namespace

SqliteProbe::SqliteProbe()
{
    current = this;
    sqlite3_auto_extension(reinterpret_cast<Extension>(_opened));
}

SqliteProbe::~SqliteProbe()
{
    sqlite3_cancel_auto_extension(reinterpret_cast<Extension>(_opened));
    current = nullptr;
}

void SqliteProbe::refuseAll()
{
    refuses = [](int, const std::string&) { return true; };
}

int SqliteProbe::_opened(sqlite3* connection, char** /*error*/, const void* /*api*/)
{
    if (!current->_connection) {
        current->_connection = connection;
        sqlite3_trace_v2(connection, SQLITE_TRACE_STMT | SQLITE_TRACE_ROW | SQLITE_TRACE_CLOSE,
            _traced, current);
        sqlite3_set_authorizer(connection, _authorize, current);
    }
    return SQLITE_OK;
}

int SqliteProbe::_traced(unsigned int event, void* context, void* stmt, void* text)
{
    auto* probe = static_cast<SqliteProbe*>(context);
    if (event == SQLITE_TRACE_CLOSE) {
        probe->isClosed = true;
    } else if (event == SQLITE_TRACE_STMT) {
        probe->_rows = 0;
        probe->statements.push_back(static_cast<const char*>(text));
    } else if (++probe->_rows == probe->interruptAfterRows) {
        sqlite3_interrupt(sqlite3_db_handle(static_cast<sqlite3_stmt*>(stmt)));
    }
    return 0;
}

int SqliteProbe::_authorize(void* context, int action, const char* name, const char* /*second*/,
    const char* /*database*/, const char* /*trigger*/)
{
    const auto* probe = static_cast<SqliteProbe*>(context);
    return probe->refuses && probe->refuses(action, name ? name : "") ? SQLITE_DENY : SQLITE_OK;
}
