import zelectronframework from './index.cjs';

export const {
  ElectronFramework,
  FrameworkError,
  frameworkVersion,
  Subscription,
  diagnose,
  mask,
  mock,
} = zelectronframework;
