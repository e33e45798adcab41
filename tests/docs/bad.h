/// \file
/// Each declaration breaks one rule of the reference, but for those of Good. reference_test.py has the problems.

/// Names of the check.
namespace KX {

/// Status numbers.
enum KXStatus : int {
    STATUS_OK = 0,       ///< done
    STATUS_REFUSED = 20, ///< not done
};

/// Tells nothing of those who call it.
class Silent {
public:
    /// Does it. Does not block.
    void withoutThread();

    /// Does it. Any thread.
    void withoutBlocking();

private:
    int hidden;
};

/// Any thread; nothing blocks.
class Told {
public:
    void undescribed();

    /// Does it.
    int withoutStatus();

    /// Does it.
    /// \return STATUS_OK (1)
    int withWrongNumber();

    /// Does it.
    /// \return STATUS_LOST (0)
    int withUnknownStatus();

    /// Does it later.
    void withoutUnit(unsigned int timeout);

    /// Makes one.
    Silent* withoutOwner();

    /// Takes one.
    void takesWithoutOwner(Silent* silent);

    int field;
    unsigned int deadline; ///< of the drain

private:
    int hidden;
};

/// Any thread; nothing blocks.
class Good : public Told {
public:
    Good(const Good&) = delete;

    /// Does it.
    /// \param timeout  in ms
    /// \return STATUS_OK (0); STATUS_REFUSED (20) when it is not done
    int withAll(unsigned int timeout);

    /// Makes one.
    /// \return owned by the caller
    Silent* makeOne();

    unsigned int waitMs = 0; ///< how long it waits
};

} // namespace KX
