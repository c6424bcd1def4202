#include "SoundService.h"

SoundService& SoundService::instance()
{
    // Lives as long as the process: other threads may still call while it ends.
    static auto& service = *new SoundService;
    return service;
}

SoundService::SoundService()
    : _connection(host::connectToBus())
    , _client(_connection->getUniqueName())
    , _focus(*_connection)
    , _volume(*_connection)
{
}
