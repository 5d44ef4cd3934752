#ifndef VEL_CORE_VELREFERENCE_H
#define VEL_CORE_VELREFERENCE_H

// A pointer that does not own: copying copies the pointer, destruction does nothing.  The target
// must outlive every reference to it.
template <class T>
class VelReference {
public:
    VelReference(T* target = nullptr) : m_Target(target) {}

    T* Get() const { return m_Target; }
    T* operator->() const { return m_Target; }
    T& operator*() const { return *m_Target; }
    explicit operator bool() const { return m_Target != nullptr; }

    friend bool operator==(const VelReference& a, const VelReference& b) {
        return a.m_Target == b.m_Target;
    }
    friend bool operator!=(const VelReference& a, const VelReference& b) {
        return a.m_Target != b.m_Target;
    }

private:
    T* m_Target;
};

#endif
