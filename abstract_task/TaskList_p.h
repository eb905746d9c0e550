#pragma once

#include <QtGlobal>

/// An element's place in a TaskList. It leaves the list in constant time, by itself when destroyed.
template <typename T>
class TaskLink
{
public:
    explicit TaskLink(T *element = nullptr)
        : m_element(element)
    { }
    ~TaskLink() { remove(); }
    Q_DISABLE_COPY(TaskLink)

    bool isLinked() const { return m_next != this; }
    void remove()
    {
        m_previous->m_next = m_next;
        m_next->m_previous = m_previous;
        m_previous = m_next = this;
    }

private:
    template <typename>
    friend class TaskList;
    TaskLink *m_previous = this;
    TaskLink *m_next = this;
    T *const m_element;
};

/// A list in order of appending that allocates nothing and owns nothing. Destroying it leaves its elements
/// unlinked.
template <typename T>
class TaskList
{
public:
    TaskList() = default;
    ~TaskList()
    {
        while (!isEmpty())
            m_head.m_next->remove();
    }
    Q_DISABLE_COPY(TaskList)

    bool isEmpty() const { return !m_head.isLinked(); }
    /// Null when empty.
    T *first() const { return m_head.m_next->m_element; }
    void append(TaskLink<T> &link)
    {
        link.remove();
        link.m_previous = m_head.m_previous;
        link.m_next = &m_head;
        m_head.m_previous->m_next = &link;
        m_head.m_previous = &link;
    }
    /// @param visit  must not change the list; returns false to stop
    template <typename Visitor>
    void forEach(Visitor visit) const
    {
        for (const TaskLink<T> *link = m_head.m_next; link != &m_head; link = link->m_next) {
            if (!visit(link->m_element))
                return;
        }
    }

private:
    TaskLink<T> m_head;
};
