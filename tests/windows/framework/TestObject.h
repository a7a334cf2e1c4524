#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <unknwn.h>

// Base of the objects that a test hands to the control. Such an object lives where the test declared it and
// not by its references: they are counted, so that at its end every reference which the control kept, and
// every one it gave back too often, is a failure.
template <class First, class... Rest>
class TestObject : public First, public Rest... {
  public:
    TestObject() = default;
    TestObject(const TestObject&) = delete;
    TestObject& operator=(const TestObject&) = delete;
    virtual ~TestObject() { EXPECT_EQ(references_, 0) << "references to a test object were not given back"; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        *object = Find(iid);
        if (!*object) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references_); }
    STDMETHODIMP_(ULONG) Release() override {
        EXPECT_GT(references_, 0) << "a reference was given back twice";
        return static_cast<ULONG>(--references_);
    }

    int References() const { return references_; }

  protected:
    // The interface without a reference of its own; null where the object does not have it. A derived class
    // adds the bases of its interfaces and hides what it does not want to offer.
    virtual void* Find(REFIID iid) {
        if (iid == IID_IUnknown) return static_cast<First*>(this);
        void* found = nullptr;
        Match<First>(iid, found);
        (Match<Rest>(iid, found), ...);
        return found;
    }

  private:
    template <class Interface>
    void Match(REFIID iid, void*& found) {
        if (iid == __uuidof(Interface)) found = static_cast<Interface*>(this);
    }

    int references_ = 0;
};
