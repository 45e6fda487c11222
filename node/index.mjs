import zelectronframework from './index.cjs';

export default zelectronframework;
export const {
  ElectronFramework,
  FrameworkError,
  frameworkVersion,
  Subscription,
  diagnose,
  doctor,
  mask,
  mock,
} = zelectronframework;
