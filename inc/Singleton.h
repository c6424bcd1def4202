#pragma once

/**
 * Gives a class its one instance in the process: class Tray : public
 * Singleton<Tray>, with a private constructor and Singleton<Tray> as a friend.
 * The instance is made when it is first asked for, and destroyed when the process ends.
 */
template <typename Class>
class Singleton {
public:
    Singleton(const Singleton&) = delete;
    Singleton& operator=(const Singleton&) = delete;

    /** The instance, the same one in every library of the process. From any thread. */
    static Class& getInstance()
    {
        static Class instance;
        return instance;
    }

protected:
    Singleton() = default;
    ~Singleton() = default;
};
