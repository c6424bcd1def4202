#include "EcorePipeProbe.h"

#include "CallJournal.h"

#include <mutex>

namespace {
std::mutex mutex;
size_t handled = 0;
int writers = 0;

void handle(void* data, void* buffer, unsigned int size)
{
    ++handled;
    ecorePipeProbe().handler(data, buffer, size);
}

size_t writtenCount()
{
    const std::lock_guard<std::mutex> lock(mutex);
    return ecorePipeProbe().written.size();
}
} // namespace

EcorePipeProbe& ecorePipeProbe()
{
    static EcorePipeProbe instance;
    return instance;
}

void EcorePipeProbe::handleMessages()
{
    while (handled < writtenCount())
        ecore_main_loop_iterate();
}

// The linker sends the calls here, and ours to the real ones.
extern "C" {
Ecore_Pipe* __real_ecore_pipe_add(Ecore_Pipe_Cb handler, const void* data);
Eina_Bool __real_ecore_pipe_write(Ecore_Pipe* pipe, const void* buffer, unsigned int size);
void* __real_ecore_pipe_del(Ecore_Pipe* pipe);

Ecore_Pipe* __wrap_ecore_pipe_add(Ecore_Pipe_Cb handler, const void* data)
{
    callJournal().note("ecore_pipe_add");
    if (ecorePipeProbe().refusesPipe)
        return nullptr;
    handled = 0;
    ecorePipeProbe().written.clear();
    ecorePipeProbe().handler = handler;
    ecorePipeProbe().pipe = __real_ecore_pipe_add(handle, data);
    return ecorePipeProbe().pipe;
}

Eina_Bool __wrap_ecore_pipe_write(Ecore_Pipe* pipe, const void* buffer, unsigned int size)
{
    if (ecorePipeProbe().onWrite)
        ecorePipeProbe().onWrite();
    if (ecorePipeProbe().refusesWrite)
        return EINA_FALSE;
    // Handled messages must never outnumber the written ones that are known.
    {
        const std::lock_guard<std::mutex> lock(mutex);
        ecorePipeProbe().written.emplace_back(static_cast<const char*>(buffer), size);
        if (++writers > 1)
            ecorePipeProbe().overlapped = true;
    }
    const Eina_Bool result = __real_ecore_pipe_write(pipe, buffer, size);
    const std::lock_guard<std::mutex> lock(mutex);
    --writers;
    return result;
}

void* __wrap_ecore_pipe_del(Ecore_Pipe* pipe)
{
    callJournal().note("ecore_pipe_del");
    if (ecorePipeProbe().onDelete)
        ecorePipeProbe().onDelete();
    return __real_ecore_pipe_del(pipe);
}
}
