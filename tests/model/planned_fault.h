#pragma once

#include "model/model_devices.h"
#include "support/fake_device_library.h"

/** Lets the same happen in the fake as is planned for the model; visits and cuts cannot. */
inline void plan_in_fake(fake_device_library& fake, const planned_disturbance& plan) {
    static const std::map<disturbance, fault::kind> kinds{
        {disturbance::refused, fault::kind::fails},
        {disturbance::answer_lost, fault::kind::works_but_fails},
        {disturbance::hollow, fault::kind::claims_success},
        {disturbance::thrown, fault::kind::throws_runtime_error},
        {disturbance::thrown_number, fault::kind::throws_int}};
    fake.clear_faults();
    if (plan.nth == 0) return;
    fault what;
    what.what = kinds.at(plan.what);
    what.code = plan.code;
    what.is_lasting = plan.is_lasting;
    fake.fail_function(plan.function, plan.nth, what);
}
